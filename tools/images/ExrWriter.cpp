// OpenEXR files through OpenEXR's C library: loading its C++ library (with
// Imath, Iex and IlmThread) cost every start of kvs about 2 ms, whether or
// not it wrote an EXR file.
#include "tools/images/ImageWriter.h"

#include <OpenEXR/openexr.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace kvimage {

namespace {

// The temporary file an OpenEXR context writes to: buffered, since the header
// goes out a few bytes at a time, and closed here, so that a failed flush
// fails the write too.
struct ExrFile {
    std::FILE* file = nullptr;
    uint64_t position = 0; // where the next byte lands without seeking
    int error = 0;         // errno of the first failure
};

int64_t writeExrBytes(exr_const_context_t, void* userData, const void* bytes, uint64_t size, uint64_t offset,
                      exr_stream_error_func_ptr_t) {
    ExrFile& out = *static_cast<ExrFile*>(userData);
    if (out.error != 0)
        return -1;
    errno = 0;
    // Seeking flushes the buffer; only the chunk offsets, written last, go back.
    if (offset != out.position) {
        if (offset > static_cast<uint64_t>(LONG_MAX) ||
            std::fseek(out.file, static_cast<long>(offset), SEEK_SET) != 0) {
            out.error = errno != 0 ? errno : EOVERFLOW;
            return -1;
        }
        out.position = offset;
    }
    if (std::fwrite(bytes, 1, static_cast<size_t>(size), out.file) != size) {
        out.error = errno != 0 ? errno : EIO;
        return -1;
    }
    out.position += size;
    return static_cast<int64_t>(size);
}

// The first message OpenEXR reports while this thread writes a file. It calls
// back on the thread of the failing call, often with the context locked, so
// the context's user data is out of reach there.
thread_local std::string* exrMessage = nullptr;

void keepExrMessage(exr_const_context_t, exr_result_t, const char* message) {
    if (exrMessage == nullptr || !exrMessage->empty() || message == nullptr)
        return;
    try {
        *exrMessage = message;
    } catch (...) { // nothing may unwind through the C library
    }
}

// OpenEXR 3.1's ZIP step keeps the compressed bytes when they are exactly as
// many as the raw ones, but readers take a chunk of the raw size to be raw and
// decode garbage. This runs that step and stores such chunks raw.
struct ZipStep {
    exr_result_t (*compress)(exr_encode_pipeline_t*) = nullptr;
};

exr_result_t compressOrStoreRaw(exr_encode_pipeline_t* encoder) {
    const exr_result_t result = static_cast<const ZipStep*>(encoder->encoding_user_data)->compress(encoder);
    if (result == EXR_ERR_SUCCESS && encoder->compressed_bytes == encoder->packed_bytes &&
        encoder->compressed_buffer != encoder->packed_buffer) {
        std::memcpy(encoder->compressed_buffer, encoder->packed_buffer, encoder->packed_bytes);
    }
    return result;
}

const char* const kGrayChannels[] = {"Y"};
const char* const kColourChannels[] = {"R", "G", "B", "A"};

// The position of a channel's sample within an interleaved texel, -1 if none.
int texelOffset(const char* name, int channels) {
    const char* const* names = channels == 1 ? kGrayChannels : kColourChannels;
    for (int c = 0; c < channels; ++c) {
        if (std::strcmp(name, names[c]) == 0)
            return c;
    }
    return -1;
}

// One scanline part, every chunk encoded straight from the interleaved
// texels. The file holds the channels sorted by name, which is the order the
// encoder lists them in.
exr_result_t encodeExr(exr_context_t context, const FloatImage& image) {
    int part = 0;
    exr_result_t result = exr_add_part(context, nullptr, EXR_STORAGE_SCANLINE, &part);
    if (result == EXR_ERR_SUCCESS)
        result = exr_initialize_required_attr_simple(context, part, image.width, image.height,
                                                     EXR_COMPRESSION_ZIP);
    const char* const* names = image.channels == 1 ? kGrayChannels : kColourChannels;
    for (int c = 0; result == EXR_ERR_SUCCESS && c < image.channels; ++c)
        result =
            exr_add_channel(context, part, names[c], EXR_PIXEL_FLOAT, EXR_PERCEPTUALLY_LOGARITHMIC, 1, 1);
    if (result == EXR_ERR_SUCCESS)
        result = exr_write_header(context);
    int32_t linesPerChunk = 0;
    if (result == EXR_ERR_SUCCESS)
        result = exr_get_scanlines_per_chunk(context, part, &linesPerChunk);
    if (result == EXR_ERR_SUCCESS && linesPerChunk <= 0)
        result = EXR_ERR_INVALID_ARGUMENT;

    const size_t rowFloats = static_cast<size_t>(image.width) * static_cast<size_t>(image.channels);
    const int32_t pixelStride = static_cast<int32_t>(sizeof(float)) * image.channels;
    const int32_t lineStride = static_cast<int32_t>(rowFloats * sizeof(float));
    exr_encode_pipeline_t encoder{};
    ZipStep zip;
    bool started = false;
    for (int y = 0; result == EXR_ERR_SUCCESS && y < image.height; y += linesPerChunk) {
        exr_chunk_info_t chunk{};
        result = exr_write_scanline_chunk_info(context, part, y, &chunk);
        if (result == EXR_ERR_SUCCESS)
            result = started ? exr_encoding_update(context, part, &chunk, &encoder)
                             : exr_encoding_initialize(context, part, &chunk, &encoder);
        const float* rows = image.texels.data() + static_cast<size_t>(chunk.start_y) * rowFloats;
        for (int c = 0; result == EXR_ERR_SUCCESS && c < encoder.channel_count; ++c) {
            exr_coding_channel_info_t& channel = encoder.channels[c];
            const int offset = texelOffset(channel.channel_name, image.channels);
            if (offset < 0) {
                result = EXR_ERR_INVALID_ARGUMENT;
                break;
            }
            channel.user_data_type = EXR_PIXEL_FLOAT;
            channel.user_bytes_per_element = sizeof(float);
            channel.user_pixel_stride = pixelStride;
            channel.user_line_stride = lineStride;
            channel.encode_from_ptr = reinterpret_cast<const uint8_t*>(rows + offset);
        }
        if (result == EXR_ERR_SUCCESS && !started) {
            result = exr_encoding_choose_default_routines(context, part, &encoder);
            zip.compress = encoder.compress_fn;
            if (zip.compress != nullptr) {
                encoder.encoding_user_data = &zip;
                encoder.compress_fn = &compressOrStoreRaw;
            }
        }
        started = true;
        if (result == EXR_ERR_SUCCESS)
            result = exr_encoding_run(context, part, &encoder);
    }
    // Also right for a pipeline never initialised: it holds no buffers then.
    const exr_result_t destroyed = exr_encoding_destroy(context, &encoder);
    return result != EXR_ERR_SUCCESS ? result : destroyed;
}

} // namespace

bool writeExr(const std::string& path, const FloatImage& image, std::string& error) {
    const auto fail = [&](const std::string& reason) {
        error = path + ": cannot write (" + reason + ")";
        return false;
    };
    if (image.width <= 0 || image.height <= 0)
        return fail("no texels in a " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                    " image");
    if (image.channels != 1 && image.channels != 3 && image.channels != 4)
        return fail(std::to_string(image.channels) + " channels");
    const size_t rowFloats = static_cast<size_t>(image.width) * static_cast<size_t>(image.channels);
    if (image.texels.size() / rowFloats != static_cast<size_t>(image.height) ||
        image.texels.size() % rowFloats != 0)
        return fail("the texels do not fill the image");
    if (rowFloats > static_cast<size_t>(INT32_MAX) / sizeof(float))
        return fail("rows too wide");

    const std::string temporary = path + ".tmp";
    ExrFile out;
    errno = 0;
    out.file = std::fopen(temporary.c_str(), "wb");
    if (out.file == nullptr)
        return fail(std::strerror(errno));

    std::string message;
    exrMessage = &message;
    exr_context_initializer_t init = EXR_DEFAULT_CONTEXT_INITIALIZER;
    init.error_handler_fn = &keepExrMessage;
    init.user_data = &out;
    init.write_fn = &writeExrBytes;
    // The level OpenEXR's C++ library writes with (the C one defaults to
    // zlib's 6): the same chunk bytes as files written before.
    init.zip_level = 4;
    exr_context_t context = nullptr;
    exr_result_t result = exr_start_write(&context, temporary.c_str(), EXR_WRITE_FILE_DIRECTLY, &init);
    if (result == EXR_ERR_SUCCESS)
        result = encodeExr(context, image);
    // Frees the context, finished or not; with a stream of our own it neither
    // renames nor removes anything.
    const exr_result_t finished = exr_finish(&context);
    exrMessage = nullptr;
    if (result == EXR_ERR_SUCCESS)
        result = finished;
    errno = 0;
    const bool closed = std::fclose(out.file) == 0;
    const int closeError = errno != 0 ? errno : EIO;

    std::string reason;
    if (out.error != 0)
        reason = std::strerror(out.error);
    else if (result != EXR_ERR_SUCCESS)
        reason = message.empty() ? exr_get_default_error_message(result) : message;
    else if (!closed)
        reason = std::strerror(closeError);
    else if (std::rename(temporary.c_str(), path.c_str()) != 0)
        reason = std::strerror(errno);
    if (!reason.empty()) {
        std::remove(temporary.c_str());
        return fail(reason);
    }
    return true;
}

} // namespace kvimage
