// PDF documents made up by a test: pages of two colours, files that fail to open, pages that fail
// to draw.
// Threads: safe, as the port; script everything before opening.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <vector>

#include "base/LockedCell.h"
#include "platform/PageFit.h"
#include "platform/PdfDocument.h"

namespace lanternfly {

struct ScriptedPage {
    PdfPageSize size{792, 612};
    // B, G, R, A of the upper and the lower half.
    std::array<uint8_t, 4> upper{255, 255, 255, 255}, lower{255, 255, 255, 255};
    std::optional<PdfError::Kind> failure{};
};

class ScriptedPdfOpener final : public PdfOpener {
public:
    struct Request {
        int index;
        double widthPX, heightPX;

        friend bool operator==(const Request&, const Request&) = default;
    };

    void addDocument(const std::filesystem::path& file, std::vector<ScriptedPage> pages);
    void addFailure(const std::filesystem::path& file, PdfError::Kind kind);
    // The next drawing of the page fails, the ones after it succeed.
    void failOnce(int index, PdfError::Kind kind);

    // Files that were not scripted are not found.
    std::shared_ptr<PdfDocument> open(const std::filesystem::path& file) override;

    // Every drawing that began, in order, over all documents.
    std::vector<Request> requests() const;

private:
    class Document;

    std::map<std::filesystem::path, std::vector<ScriptedPage>> _documents;
    std::map<std::filesystem::path, PdfError::Kind> _failures;
    struct Shared {
        std::vector<Request> requests;
        std::map<int, PdfError::Kind> failOnce;
    };
    std::shared_ptr<LockedCell<Shared>> _shared = std::make_shared<LockedCell<Shared>>();
};

} // namespace lanternfly
