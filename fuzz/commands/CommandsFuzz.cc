// Any text is a script and a file of bindings, or is refused in a sentence; what was read is
// written so that it is read again as itself.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "app/CommandError.h"
#include "app/commands/Bindings.h"
#include "app/commands/CommandScript.h"
#include "app/commands/CommandTable.h"

namespace {

using namespace lanternfly;

void require(bool isTrue) {
    if (!isTrue) std::abort();
}

void checkScript(std::string_view text) {
    double last = 0;
    for (const TimedCommand& timed : parseScript(text, "script")) {
        require(timed.seconds >= last);
        last = timed.seconds;
        require(parseCommand(textOf(timed.command)) == timed.command);
    }
}

void checkBindings(std::string_view text) {
    const auto read = parseBindings(text);
    const auto again = parseBindings(jsonOf(read.bindings));
    require(again.problems.empty() && again.bindings == read.bindings);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        checkScript(text);
    } catch (const CommandError& error) {
        require(*error.what() != '\0');
    }
    checkBindings(text);
    return 0;
}
