#include "render/cpu/StrokePass.h"

#include <algorithm>

namespace lanternfly {

void StrokePass::prepare(const StrokesDraw& draw) {
    hold(draw);
    _strips.assign(draw, _firstHeld, _firstJoining, _frame);
    _last = draw;
}

void StrokePass::drawRows(Rows rows, PixelBuffer& output) {
    _strips.draw(0, _firstHeld, rows, output, nullptr);
    if (_joined) _strips.draw(_firstJoining, _endHeld, rows, *_joined, &_layer);
    if (_firstHeld < _endHeld) _layer.blendOnto(output, rows);
    _strips.draw(_endHeld, _last.batches->size(), rows, output, nullptr);
}

size_t StrokePass::unchanged(Batches batches, size_t first) const {
    if (!_last.batches || first >= batches.size()) return 0;
    const auto& before = *_last.batches;
    auto same = std::find(before.begin(), before.end(), batches[first]);
    size_t count = 0;
    while (same != before.end() && first + count < batches.size() &&
           *same == batches[first + count]) {
        ++same;
        ++count;
    }
    return count;
}

void StrokePass::hold(const StrokesDraw& draw) {
    const Batches batches(*draw.batches);
    const bool isSameInk = draw.opacity == _last.opacity && draw.widthScale == _last.widthScale;
    size_t first = 0;
    if (!_held.empty()) {
        first = static_cast<size_t>(std::find(batches.begin(), batches.end(), _held.front()) -
                                    batches.begin());
        if (!isSameInk || batches.size() - first < _held.size() ||
            !std::equal(_held.begin(), _held.end(),
                        batches.begin() + static_cast<ptrdiff_t>(first))) {
            _layer.clear();
            _held.clear();
        }
    }
    _firstHeld = _firstJoining = _endHeld = 0;
    _joined = nullptr;
    if (!isSameInk) return;
    if (_held.empty()) {
        size_t longest = 0;
        for (size_t i = 0; i < batches.size();) {
            const size_t count = unchanged(batches, i);
            if (count > longest) {
                longest = count;
                first = i;
            }
            i += std::max<size_t>(count, 1);
        }
    }
    _firstHeld = first;
    _firstJoining = _endHeld = first + _held.size();
    const size_t joining = unchanged(batches, _firstJoining);
    if (joining > 0) _joined = _layer.pixels();
    if (!_joined) return;
    _endHeld += joining;
    _held.insert(_held.end(), batches.begin() + static_cast<ptrdiff_t>(_firstJoining),
                 batches.begin() + static_cast<ptrdiff_t>(_endHeld));
}

} // namespace lanternfly
