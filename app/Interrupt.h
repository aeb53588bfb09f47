// Asks a long command to end orderly on Ctrl-C or a termination request; the second one ends the
// program at once. A write beyond a limit or into a closed pipe becomes an error code.
// Threads: safe.
#pragma once

namespace lanternfly::Interrupt {

void install();
// The signal's number, 0 while none came.
int requested();

} // namespace lanternfly::Interrupt
