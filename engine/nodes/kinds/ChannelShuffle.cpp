// channel.shuffle: builds RGBA from the channels of two images.
#include "engine/nodes/KindTable.h"
#include "engine/nodes/NodeKind.h"

#include <algorithm>

namespace kvengine {

namespace {

// Sources of an output channel: the channels of the first image, those of
// the second, then the constants.
enum Pick { Red, Green, Blue, Alpha, OtherRed, OtherGreen, OtherBlue, OtherAlpha, Zero, One };

const std::initializer_list<const char*> kPickLabels = {
    "red", "green", "blue", "alpha", "other_red", "other_green", "other_blue", "other_alpha", "zero", "one"};

NodeKindInfo table() {
    return KindTable("channel.shuffle",
                     "Builds an RGBA image channel by channel from the channels of two images or a constant. "
                     "A gray image answers every colour channel with its gray level and alpha with 1.",
                     OutputChannels::Colour)
        .choice("red", Red, kPickLabels, "what the red channel takes")
        .choice("green", Green, kPickLabels, "what the green channel takes")
        .choice("blue", Blue, kPickLabels, "what the blue channel takes")
        .choice("alpha", Alpha, kPickLabels, "what the alpha channel takes")
        .colourMap("input", "the first image")
        .colourMap("other", "the second image");
}

void evaluate(const NodeRun& run, Image& out) {
    const char* const names[4] = {"red", "green", "blue", "alpha"};
    for (int c = 0; c < 4; ++c) {
        const int pick = run.choice(names[c]);
        const float* plane = nullptr; // null: the constant below
        const float constant = pick == Zero ? 0.0f : 1.0f;
        if (pick < Zero)
            plane = run.input(static_cast<size_t>(pick / 4)).colourPlane(pick % 4);
        run.parallel->run(run.height, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y) {
                float* dst = out.row(c, y);
                if (plane)
                    std::copy_n(plane + static_cast<size_t>(y) * run.width, run.width, dst);
                else
                    std::fill_n(dst, run.width, constant);
            }
        });
    }
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
