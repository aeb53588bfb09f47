// Asks a long command to end orderly on Ctrl-C or a termination request; the second one ends the
// program at once. A write beyond a limit or into a closed pipe becomes an error code.
// Threads: safe.
#pragma once

namespace lanternfly::Interrupt {

void install();
// The signal's number, 0 while none came.
int requested();
// Readable once a signal came. -1 before install(), or when the system has no descriptors left.
int descriptor();

} // namespace lanternfly::Interrupt
