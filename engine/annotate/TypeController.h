// Typing on the slide: while the mode is active, characters build up one text, which is published
// after every change.
// Threads: safe. The callback runs on the thread that made the change, outside the lock.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/LockedCell.h"

namespace lanternfly {

class TypeController {
public:
    using TextUpdate = std::function<void(const std::string&)>; // UTF-8

    explicit TypeController(std::string layerID) : _layerID(std::move(layerID)) {}

    const std::string& layerID() const { return _layerID; }
    void setOnTextUpdate(TextUpdate callback);

    bool isModeActive() const;
    std::string text() const;
    bool hasText() const;

    // The text outlives the mode. Neither publishes.
    void enterTypeMode();
    void exitTypeMode();
    // These three are ignored while the mode is inactive. What is not UTF-8 is typed as U+FFFD.
    void appendCharacter(std::string_view s);
    void appendNewline() { appendCharacter("\n"); }
    // Removes the last character as people see it, which may be several code points.
    void deleteBackward();
    // Whatever the mode.
    void clearAll();

private:
    struct State {
        bool isModeActive = false;
        std::string text;
        std::shared_ptr<const TextUpdate> onTextUpdate;
    };

    // Publishes the text when `change(State&)` says that it changed.
    template <typename Change>
    void publishAfter(Change&& change);

    const std::string _layerID;
    LockedCell<State> _state;
};

} // namespace lanternfly
