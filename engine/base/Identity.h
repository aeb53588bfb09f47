// The names by which the program is known to logs, queues, sockets and the desktop.
#pragma once

namespace lanternfly::identity {

inline constexpr const char* prefix = "org.lanternfly";
inline constexpr const char* subsystem = "org.lanternfly.Lanternfly";
inline constexpr const char* manufacturer = "Lanternfly Project";
inline constexpr const char* virtualCameraName = "Lanternfly";
inline constexpr const char* virtualCameraModel = "Lanternfly Virtual Camera";

} // namespace lanternfly::identity
