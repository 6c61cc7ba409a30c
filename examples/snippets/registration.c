/* Registration: the first call of an application and its last. */
#include "snippets.h"

/* [KalRegisterApp] */
int32_t work_on_this_machine(Work work) {
    KalRegisterApp(0); /* 1, whatever happened: the first call that needs the service tells more */
    const int32_t result = work();
    KalUnregisterApp(0);
    return result;
}
/* [KalRegisterApp] */

/* [KalRegisterWithRpcServer] */
int32_t work_with_server(const char *server_name, Work work) {
    if (KalRegisterWithRpcServer(server_name) != 1) {
        return KAL_REGISTRATION_REFUSED; /* nothing is registered: nothing to give back, nothing else to call */
    }
    const int32_t result = work();
    KalUnregisterApp(0);
    return result;
}
/* [KalRegisterWithRpcServer] */

/* [KalUnregisterApp] */
/* The end of a program that captured alerts; its other threads have stopped calling. */
void leave(const uint16_t *captured, size_t count) {
    for (size_t index = 0; index < count; ++index) {
        KalReleaseAlerts(0, captured[index]);
    }
    KalUnregisterApp(0); /* once for each registration that succeeded; after the last one no other call */
}
/* [KalUnregisterApp] */

/* [KalSetClientName] */
void name_the_client(void) {
    KalSetClientName("Printer status"); /* may be called before the registration */
}
/* [KalSetClientName] */

/* [Initialize] */
int start_of_an_older_program(void) {
    return Initialize() == 1 && KalRegisterWithRpcServer(NULL) == 1; /* the first may as well be left out */
}
/* [Initialize] */

/* [Uninitialize] */
int end_of_an_older_program(void) {
    KalUnregisterApp(0); /* this is what ends things */
    return Uninitialize();
}
/* [Uninitialize] */
