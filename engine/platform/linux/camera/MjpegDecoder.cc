#include "platform/linux/camera/MjpegDecoder.h"

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>
// After jpeglib.h, which it needs.
#include <jerror.h>

namespace lanternfly {

struct MjpegDecoder::Jpeg {
    jpeg_decompress_struct state{};
    jpeg_error_mgr errors{};
    jmp_buf failed{};
    bool isDamaged = false;
};

namespace {

template <typename Jpeg>
Jpeg& ownerOf(j_common_ptr state) {
    return *static_cast<Jpeg*>(state->client_data);
}

} // namespace

MjpegDecoder::MjpegDecoder() : _jpeg(std::make_unique<Jpeg>()) {
    _jpeg->state.err = jpeg_std_error(&_jpeg->errors);
    _jpeg->errors.error_exit = [](j_common_ptr state) {
        std::longjmp(ownerOf<Jpeg>(state).failed, 1);
    };
    _jpeg->errors.output_message = [](j_common_ptr) {};
    _jpeg->errors.emit_message = [](j_common_ptr state, int level) {
        // Many cameras pad their frames, and the padding is no damage.
        if (level < 0 && state->err->msg_code != JWRN_EXTRANEOUS_DATA)
            ownerOf<Jpeg>(state).isDamaged = true;
    };
    jpeg_create_decompress(&_jpeg->state);
    _jpeg->state.client_data = _jpeg.get();
}

MjpegDecoder::~MjpegDecoder() {
    jpeg_destroy_decompress(&_jpeg->state);
}

// Nothing here has a destructor that a jump back to setjmp() would skip.
bool MjpegDecoder::decode(std::span<const uint8_t> frame, PixelBuffer& target) {
    jpeg_decompress_struct& state = _jpeg->state;
    _jpeg->isDamaged = false;
    if (setjmp(_jpeg->failed) != 0) {
        jpeg_abort_decompress(&state);
        return false;
    }
    jpeg_mem_src(&state, frame.data(), frame.size());
    if (jpeg_read_header(&state, TRUE) != JPEG_HEADER_OK ||
        state.image_width != static_cast<JDIMENSION>(target.width()) ||
        state.image_height != static_cast<JDIMENSION>(target.height()) ||
        // A progressive frame of a few bytes can ask for minutes of work; no camera sends one.
        jpeg_has_multiple_scans(&state)) {
        jpeg_abort_decompress(&state);
        return false;
    }
    state.out_color_space = JCS_EXT_BGRA;
    state.do_fancy_upsampling = FALSE; // not seen in a camera picture, and slower
    jpeg_start_decompress(&state);
    while (state.output_scanline < state.output_height && !_jpeg->isDamaged) {
        JSAMPROW row = target.row(static_cast<int>(state.output_scanline));
        jpeg_read_scanlines(&state, &row, 1);
    }
    if (_jpeg->isDamaged) {
        jpeg_abort_decompress(&state);
        return false;
    }
    jpeg_finish_decompress(&state);
    return !_jpeg->isDamaged;
}

} // namespace lanternfly
