// SPDX-License-Identifier: GPL-2.0-or-later
// What this process may still do once it reads a stranger's file: compute, and talk on the socket
// that it has. Nothing here can be undone.
#pragma once

#include <cstdint>

namespace lanternfly {

// Loads the system's fonts list, then closes, limits and filters in this order:
// - every descriptor above the socket is closed; the process dies with the host, cannot gain
//   privileges and cannot be dumped or traced;
// - resource limits: 1 GiB of address space, 300 s of CPU, no file growth, no new processes, 64
//   descriptors, no core file;
// - Landlock: files can be opened only to read, only below the font folders and poppler's data;
// - seccomp: a list of calls; any other kills. No sockets are made, no process is started, no file
//   is created, renamed or removed, and openat works only for reading.
// Returns the pdfwire::Protection bits that the system provided.
uint32_t enterSandbox();

} // namespace lanternfly
