/* The header compiles as C and says the same there. */
#include "api/kal.h"

#include <stddef.h>

_Static_assert(KAL_OKAY == 0 && KAL_FAIL == 1, "results");
_Static_assert(DEVERR_INVHANDLE == -8 && DEVERR_CONNECT == -10 && DEVERR_PROTOCOL == -14, "results");
_Static_assert(DEVERR_READFAIL == -17 && KAL_MOREDATA == -18 && KAL_PRNBUSY == -27, "results");
_Static_assert(NETTYPE_IP == 0x2 && ENUM_P2P == 0x10 && NETTYPE_RHOA == 0x200, "net types");
_Static_assert(NETTYPEUSB == 0x400 && NETTYPE_LOCAL == 0x800, "net types");
_Static_assert(offsetof(PortInfoRecord, portName) == 6 && offsetof(PortInfoRecord, handle) == 86, "port record");
_Static_assert(offsetof(PortInfoRecord, deviceClass) == 88 && offsetof(PortInfoRecord, portType) == 92, "port record");
_Static_assert(offsetof(PortInfoRecord, isHostBasedNetwork) == 98, "port record");
_Static_assert(offsetof(PortInfoRecord, secondName) == 100, "port record");
