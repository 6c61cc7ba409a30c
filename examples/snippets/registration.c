/* Registration: the first call of an application and its last. */
#include "snippets.h"

/* [KalRegisterApp] */
int32_t work_on_this_machine(Work work) {
    KalRegisterApp(0); /* always 1; a failure shows in the first call that needs the service */
    const int32_t result = work();
    KalUnregisterApp(0);
    return result;
}
/* [KalRegisterApp] */

/* [KalRegisterWithRpcServer] */
int32_t work_with_server(const char *server_name, Work work) {
    if (KalRegisterWithRpcServer(server_name) != 1) {
        return KAL_REGISTRATION_REFUSED; /* not registered: do not unregister, and do not call anything else */
    }
    const int32_t result = work();
    KalUnregisterApp(0);
    return result;
}
/* [KalRegisterWithRpcServer] */

/* [KalUnregisterApp] */
/* Ends a program that captured alerts. Its other threads must have stopped calling the library. */
void leave(const uint16_t *captured, size_t count) {
    for (size_t index = 0; index < count; ++index) {
        KalReleaseAlerts(0, captured[index]);
    }
    KalUnregisterApp(0); /* once per successful registration; no calls after the last one */
}
/* [KalUnregisterApp] */

/* [KalSetClientName] */
void name_the_client(void) {
    KalSetClientName("Printer status"); /* may be called before the registration */
}
/* [KalSetClientName] */

/* [Initialize] */
int start_of_an_older_program(void) {
    return Initialize() == 1 && KalRegisterWithRpcServer(NULL) == 1; /* Initialize is optional */
}
/* [Initialize] */

/* [Uninitialize] */
int end_of_an_older_program(void) {
    KalUnregisterApp(0); /* this ends the registration */
    return Uninitialize();
}
/* [Uninitialize] */
