/* Job modes and job strings. */
#include "snippets.h"

/* [KalSetEndOfJobMode] */
void wait_longer_for_the_end(uint16_t handle) {
    KalSetEndOfJobMode(0, handle, 0, 0, 10 * 60); /* seconds; before the job starts */
}
/* [KalSetEndOfJobMode] */

/* [KalSetJobCancelMode] */
int32_t cancel_one_job(uint16_t handle, int32_t job_id) {
    const int32_t result = KalSetJobCancelMode(0, handle, job_id); /* 1 or more */
    return result == KAL_OKAY ? KalCancelJob(0, handle) : result;
}
/* [KalSetJobCancelMode] */

/* [KalSetJobControlMode] */
enum { STOP_NOTIFICATIONS = 1, START_NOTIFICATIONS = 2 };

/* Only without a capture of this printer's alerts: after a capture, KalReleaseAlerts ends both. */
int32_t hear_of_jobs(uint16_t handle) {
    return KalSetJobControlMode(0, handle, START_NOTIFICATIONS); /* posted to the window of the latest capture */
}

void hear_no_more_of_jobs(uint16_t handle) {
    KalSetJobControlMode(0, handle, STOP_NOTIFICATIONS); /* closes the printer that the start opened */
}
/* [KalSetJobControlMode] */

/* [KalSetJobStringPrinter] */
int32_t start_named_job(uint16_t handle, const char *user_name) {
    KalSetJobStringPrinter(0, handle, "UserName", user_name); /* KAL_OKAY even if the service refuses it */
    return KalStartDoc(handle, KAL_PORT_TYPE_ANY, "Report");
}
/* [KalSetJobStringPrinter] */
