#include "annotate/TypedText.h"

#include <memory>

#include <unicode/brkiter.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

namespace lanternfly {

namespace {

icu::StringPiece piece(std::string_view text) {
    return {text.data(), static_cast<int32_t>(text.size())};
}

// Where the last character begins; the text is not empty.
size_t startOfLastCharacter(const std::string& text) {
    const auto size = static_cast<int32_t>(text.size());
    int32_t start = size;
    U8_BACK_1(reinterpret_cast<const uint8_t*>(text.data()), 0, start);

    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    UText view = UTEXT_INITIALIZER;
    utext_openUTF8(&view, text.data(), size, &status);
    if (U_SUCCESS(status)) characters->setText(&view, status);
    // Without the library's data a character is a code point.
    if (U_SUCCESS(status)) start = characters->preceding(size);
    utext_close(&view);
    return static_cast<size_t>(start);
}

} // namespace

std::string wellFormedUtf8(std::string_view text) {
    std::string wellFormed;
    icu::UnicodeString::fromUTF8(piece(text)).toUTF8String(wellFormed);
    return wellFormed;
}

void removeLastCharacter(std::string& text) {
    if (!text.empty()) text.resize(startOfLastCharacter(text));
}

} // namespace lanternfly
