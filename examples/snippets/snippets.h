/* The functions of the examples in the reference, which shows the sources in this folder. C11 and C++17. */
#ifndef SNIPPETS_H
#define SNIPPETS_H

#include "kal.h"

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t (*Work)(void);

int32_t work_on_this_machine(Work work);
int32_t work_with_server(const char *server_name, Work work);
void leave(const uint16_t *captured, size_t count);
void name_the_client(void);
int start_of_an_older_program(void);
int end_of_an_older_program(void);

int32_t open_patiently(uint16_t handle);
void close_wholly(uint16_t handle);

int32_t print_text(uint16_t handle, const char *text, uint32_t left);
int32_t send_some(uint16_t handle, const char *data, uint32_t *size);
int32_t send_as_older_programs_do(uint16_t handle, const void *data, uint32_t size);
int32_t end_or_cancel(uint16_t handle);
void give_up(uint16_t handle, uint32_t port_type);

void wait_longer_for_the_end(uint16_t handle);
int32_t cancel_one_job(uint16_t handle, int32_t job_id);
int32_t hear_of_jobs(uint16_t handle);
void hear_no_more_of_jobs(uint16_t handle);
int32_t start_named_job(uint16_t handle, const char *user_name);

uint16_t first_usb_printer(void);
uint16_t printer_at(const char *name);
uint32_t cached_block(uint16_t handle, uint8_t *block, uint32_t size);

int32_t hear_of_alerts(uint16_t handle, HWND window);
void hear_no_more(uint16_t handle);
uint16_t take_message(UINT message, WPARAM wParam, uint8_t *alert, uint16_t size);
int is_printing(uint16_t handle);

int32_t ask_stored_request(uint16_t handle, uint16_t function, uint8_t *response, uint32_t *size);

int32_t finish_writing(uint16_t handle);
int32_t prepare_removal(void);
int has_server(void);
int32_t look_for_printers(void);
int is_reachable(uint16_t handle);
int32_t close_by_the_old_name(uint16_t handle);

#ifdef __cplusplus
}
#endif

#endif
