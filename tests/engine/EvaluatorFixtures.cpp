#include "EvaluatorFixtures.h"

#include "engine/evaluator/PixelFormats.h"
#include "engine/formats/TextureLayout.h"

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvtest {

using namespace kvengine;

std::map<unsigned, Rendered> renderOutputs(Evaluator& evaluator, std::vector<unsigned> outputs, Status* status) {
    if (outputs.empty())
        for (unsigned i = 0; i < evaluator.outputCount(); ++i)
            outputs.push_back(i);
    std::map<unsigned, Rendered> results;
    const Status queued =
        evaluator.queueOutputs(outputs.data(), static_cast<unsigned>(outputs.size()), false, false, 0);
    EXPECT_EQ(queued, SubstanceStatus_Ok);
    auto allocate = [](size_t bytes) { return std::malloc(bytes); };
    auto deliver = [&](unsigned index, size_t, const SubstanceTexture& texture) {
        Rendered& out = results[index];
        out.width = texture.level0Width;
        out.height = texture.level0Height;
        out.format = texture.pixelFormat;
        out.levels = texture.mipmapCount;
        const auto* bytes = static_cast<const unsigned char*>(texture.buffer);
        out.bytes.assign(bytes,
                         bytes + textureBytes(texelFormat(out.format), out.width, out.height, out.levels));
        std::free(texture.buffer);
    };
    Status rendered = evaluator.render(allocate, deliver);
    if (status)
        *status = std::move(rendered);
    return results;
}

std::map<unsigned, Rendered> renderAssembly(const Assembly& assembly, unsigned threads) {
    EvaluatorOptions options;
    options.threadCount = threads;
    std::unique_ptr<Evaluator> evaluator;
    const Status created = Evaluator::create(assembly, options, evaluator);
    EXPECT_EQ(created, SubstanceStatus_Ok);
    if (created != SubstanceStatus_Ok)
        return {};
    Status status;
    auto results = renderOutputs(*evaluator, {}, &status);
    EXPECT_EQ(status, SubstanceStatus_Ok);
    return results;
}

Rendered renderTexel(const std::array<float, 4>& texel, int format) {
    GraphBuilder b(0, 0);
    const uint32_t picture = b.addInput("picture", InputType::Image);
    b.addOutput("out", b.addNode("input.image", {}, {}, picture), format);
    std::unique_ptr<Evaluator> evaluator;
    EXPECT_EQ(Evaluator::create(b.assembly(), {}, evaluator), SubstanceStatus_Ok);
    if (!evaluator)
        return {};
    std::array<float, 4> pixel = texel;
    SubstanceTextureInput input{};
    input.texture.buffer = pixel.data();
    input.texture.level0Width = 1;
    input.texture.level0Height = 1;
    input.texture.pixelFormat = SubstancePixelFormat_RGBA32F;
    EXPECT_EQ(evaluator->setInput(picture, SubstanceInputType_Image, &input, false), SubstanceStatus_Ok);
    return renderOutputs(*evaluator)[0];
}

std::vector<float> floats(const Rendered& rendered) {
    const size_t count = static_cast<size_t>(rendered.width) * static_cast<size_t>(rendered.height) *
                         (rendered.format == SubstancePixelFormat_RGBA32F ? 4u : 1u);
    std::vector<float> values(count);
    if (rendered.bytes.size() >= count * sizeof(float))
        std::memcpy(values.data(), rendered.bytes.data(), count * sizeof(float));
    return values;
}

uint64_t checksum(const std::vector<unsigned char>& bytes, uint64_t hash) {
    for (unsigned char b : bytes)
        hash = (hash ^ b) * 1099511628211ull;
    return hash;
}

std::string seamFault(const std::vector<float>& texels, int width, int height, int channels, int channel) {
    auto at = [&](int x, int y) {
        return static_cast<double>(texels[(static_cast<size_t>(y) * width + x) * channels + channel]);
    };
    // Mean step between column x and the next (wrapping), and between row y and the next.
    auto columnStep = [&](int x) {
        double sum = 0;
        for (int y = 0; y < height; ++y)
            sum += std::fabs(at((x + 1) % width, y) - at(x, y));
        return sum / height;
    };
    auto rowStep = [&](int y) {
        double sum = 0;
        for (int x = 0; x < width; ++x)
            sum += std::fabs(at(x, (y + 1) % height) - at(x, y));
        return sum / width;
    };
    double roughestColumn = 0, roughestRow = 0;
    for (int x = 0; x + 1 < width; ++x)
        roughestColumn = std::max(roughestColumn, columnStep(x));
    for (int y = 0; y + 1 < height; ++y)
        roughestRow = std::max(roughestRow, rowStep(y));
    const double acrossU = columnStep(width - 1), acrossV = rowStep(height - 1);
    if (acrossU > roughestColumn * 1.5 + 1e-4)
        return "step " + std::to_string(acrossU) + " across the u edge, at most " +
               std::to_string(roughestColumn) + " inside";
    if (acrossV > roughestRow * 1.5 + 1e-4)
        return "step " + std::to_string(acrossV) + " across the v edge, at most " +
               std::to_string(roughestRow) + " inside";
    return {};
}

void dumpPng(const std::string& name, const Rendered& rendered) {
    if (!std::getenv("KV_DUMP_PNG"))
        return;
    const bool gray = rendered.format == SubstancePixelFormat_L8;
    if (!gray && (rendered.format & ~SubstancePixelFormat_Flag) != SubstancePixelFormat_RGBA8)
        return;
    const std::string path = "/tmp/kv-eval-" + name + ".png";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, file);
        png_set_IHDR(png, info, static_cast<png_uint_32>(rendered.width),
                     static_cast<png_uint_32>(rendered.height), 8,
                     gray ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        const size_t rowBytes = static_cast<size_t>(rendered.width) * (gray ? 1u : 4u);
        for (int y = 0; y < rendered.height; ++y)
            png_write_row(png, rendered.bytes.data() + rowBytes * static_cast<size_t>(y));
        png_write_end(png, nullptr);
    }
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

} // namespace kvtest
