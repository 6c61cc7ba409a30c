#include "api/CallFrame.h"
#include "api/kal.h"

namespace kal {

namespace {

/// A call whose result is always the same, with or without a binding.
int32_t fixedAnswer(const char *name, const char *tracedResult, int32_t answer) {
    CallTrace trace{Description(name)};
    trace.setResult(tracedResult);
    return answer;
}

} // namespace

} // namespace kal

using namespace kal;

extern "C" {

#define LEGACY_UNSUPPORTED(exportName, tracedName)                                                                     \
    int32_t exportName(KAL_ARGUMENTS_NOT_READ) {                                                                       \
        return fixedAnswer(tracedName, "KAL_FAIL (unsupported)", KAL_FAIL);                                            \
    }
#define LEGACY_FIXED(exportName, parameters, tracedResult, answer)                                                     \
    int32_t exportName parameters {                                                                                    \
        return fixedAnswer(#exportName, tracedResult, answer);                                                         \
    }
#define LEGACY_ALIAS(type, exportName, tracedName, parameters, plainExport, arguments)                                 \
    type exportName parameters {                                                                                       \
        const CallTrace trace{Description(tracedName)};                                                                \
        return plainExport arguments;                                                                                  \
    }
#define LEGACY_UNREAD_ALIAS(exportName, tracedName, plainExport)                                                       \
    int32_t exportName(KAL_ARGUMENTS_NOT_READ) {                                                                       \
        const CallTrace trace{Description(tracedName)};                                                                \
        return plainExport();                                                                                          \
    }
#include "api/LegacyExports.inc"
#undef LEGACY_UNSUPPORTED
#undef LEGACY_FIXED
#undef LEGACY_ALIAS
#undef LEGACY_UNREAD_ALIAS

void KalPrepareRhoaForUninstall(void) {
    const CallTrace trace{Description("KalPrepareRhoaForUninstall")};
}

} // extern "C"
