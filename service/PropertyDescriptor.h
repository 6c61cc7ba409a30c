#pragma once

/// How the properties of a device are named to the service.
namespace kal::propertyDescriptor {

inline constexpr const char *transport = "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>";
inline constexpr const char *device = "<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>";
inline constexpr const char *macAddress = "<Name>MacAddress</Name><Type>ByteArray</Type><Access>ReadOnly</Access>";
inline constexpr const char *portName = "<Name>Portname</Name><Type>String</Type><Access>Writeable</Access>";
inline constexpr const char *endOfJobDuration = "<Name>TeojDuration</Name><Type>Long</Type><Access>Writeable</Access>";
inline constexpr const char *jobId = "<Name>TripletJobId</Name><Type>ByteArray</Type><Access>Writeable</Access>";

} // namespace kal::propertyDescriptor
