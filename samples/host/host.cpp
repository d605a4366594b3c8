// A complete host of the library: reads two package files, stacks the second
// on the first, sets one input, renders the material's texture and writes
// it as a PNG, then saves the state string, applies it to a fresh material
// of the same packages and checks that the texture comes back byte for byte.
//
//   host BASE.mpk EFFECT.mpk OUT.png [INPUT=VALUE[,VALUE...]]
#include <bridge/SubstanceBridge.h>
#include <material/Substance.h>

#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

kv::Reference<kvSubstance::Substance> load(const char* basePath, const char* effectPath) {
    kv::vector<char> base, effect;
    kvSubstance::readSubstanceContent(kvString::IString(basePath, kvString::Multibyte), base);
    kvSubstance::readSubstanceContent(kvString::IString(effectPath, kvString::Multibyte), effect);
    return kvSubstance::createSubstance(base, effect);
}

// Sets "identifier=v0,v1,..." on the material and hands the value to the renderer.
bool setInput(kv::Reference<kvSubstance::Substance> material, const std::string& assignment) {
    const size_t equals = assignment.find('=');
    kvSubstance::SubstanceInput* input =
        material->getInput(kvString::CString(assignment.substr(0, equals).c_str()));
    if (equals == std::string::npos || input == nullptr) {
        return false;
    }
    const char* text = assignment.c_str() + equals + 1;
    for (int k = 0; k < (input->getType() & 7) && *text != '\0'; ++k) {
        char* end = nullptr;
        const double value = std::strtod(text, &end);
        if ((input->getType() & 0x20) != 0) {
            input->setValueI(static_cast<int>(value), k);
        } else {
            input->setValueF(static_cast<float>(value), k);
        }
        text = *end == ',' ? end + 1 : end;
    }
    kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(material, input);
    return true;
}

bool writePng(const char* path, const ilSPMemoryImg& image) {
    std::FILE* file = std::fopen(path, "wb");
    if (file == nullptr) {
        return false;
    }
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.getSize().x);
    png.height = static_cast<png_uint_32>(image.getSize().y);
    png.format = PNG_FORMAT_RGBA;
    const bool written = png_image_write_to_stdio(&png, file, 0, image.getData(), 0, nullptr) != 0;
    return std::fclose(file) == 0 && written;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4 || argc > 5) {
        std::fprintf(stderr, "usage: host BASE.mpk EFFECT.mpk OUT.png [INPUT=VALUE[,VALUE...]]\n");
        return 2;
    }
    kv::Reference<kvSubstance::Substance> material = load(argv[1], argv[2]);
    if (material->getGraphInstances().empty()) {
        std::fprintf(stderr, "host: %s and %s do not make a material\n", argv[1], argv[2]);
        return 1;
    }
    if (argc == 5 && !setInput(material, argv[4])) {
        std::fprintf(stderr, "host: cannot set %s\n", argv[4]);
        return 1;
    }
    kv::TempReference<ilSIDImage> texture = kvSubstance::getTextureFromSubstance(material.get());
    const auto* pixels = dynamic_cast<const ilSPMemoryImg*>(texture.get());
    if (pixels == nullptr || !writePng(argv[3], *pixels)) {
        std::fprintf(stderr, "host: no texture written to %s\n", argv[3]);
        return 1;
    }
    std::printf("%s: %s, %d x %d, written to %s\n", material->getPackageURL().asChar(),
                material->getLabel().utf8().c_str(), pixels->getSize().x, pixels->getSize().y, argv[3]);

    const kvString::CString state = material->getStateString();
    std::printf("state string:\n%s", state.asChar());

    kv::Reference<kvSubstance::Substance> restored = load(argv[1], argv[2]);
    restored->applyStateString(state);
    kv::TempReference<ilSIDImage> again = kvSubstance::getTextureFromSubstance(restored.get());
    const auto* againPixels = dynamic_cast<const ilSPMemoryImg*>(again.get());
    const bool same = againPixels != nullptr && againPixels->getDataSize() == pixels->getDataSize() &&
                      std::memcmp(againPixels->getData(), pixels->getData(), pixels->getDataSize()) == 0;
    std::printf("state applied to a fresh material: texture %s\n", same ? "identical" : "DIFFERENT");
    return same ? 0 : 1;
}
