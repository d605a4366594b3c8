// getTextureFromSubstance: render what changed, take the result of the
// output "Output" and hand it to the host as an 8-bit RGBA image.
#include "bridge/SubstanceBridge.h"
#include "framework/render/GraphInstance.h"
#include "framework/render/PackageStackDesc.h"
#include "framework/render/RenderQueue.h"
#include "material/Substance.h"

namespace kvSubstance {

namespace {

// The full-size level of an 8-bit RGBA result, copied as it stands; null
// for any other pixel format.
kv::TempReference<ilSIDImage> toImage(const SubstanceAir::RenderResult& result) {
    const SubstanceTexture& texture = result.getTexture();
    if ((texture.pixelFormat & ~SubstancePixelFormat_Flag) != 0 || texture.buffer == nullptr) {
        return kv::TempReference<ilSIDImage>();
    }
    // Not cleared first: the one tile below covers every texel.
    kv::TempReference<ilSPMemoryImg> image(new ilSPMemoryImg(
        ilSize(texture.level0Width, texture.level0Height, 1, 4), ilUChar, ilInterleaved, false));
    if (!image->setTile(0, 0, 0, texture.level0Width, texture.level0Height, 1, texture.buffer)) {
        return kv::TempReference<ilSIDImage>();
    }
    return image;
}

} // namespace

kv::TempReference<ilSIDImage> getTextureFromSubstance(Substance* substance) {
    // A material of one package has no stack; it renders its graph instances.
    const SubstanceAir::PackageStackDesc* stack = substance->getPackageStackDesc();
    const std::vector<boost::shared_ptr<SubstanceAir::GraphInstance>>& graphs =
        substance->getGraphInstances();
    if (stack != nullptr ? stack->graphs().empty() : graphs.empty()) {
        return kv::TempReference<ilSIDImage>();
    }

    SubstanceAir::RenderQueue queue;
    for (const boost::shared_ptr<SubstanceAir::GraphInstance>& graph : graphs) {
        queue.push(*graph);
    }
    queue.run();

    // Results taken before the chosen one are dropped; those after it stay for a later call.
    kv::TempReference<ilSIDImage> image;
    for (const boost::shared_ptr<SubstanceAir::GraphInstance>& graph : graphs) {
        for (const std::unique_ptr<SubstanceAir::OutputInstance>& output : graph->getOutputs()) {
            if (image) {
                break;
            }
            const std::unique_ptr<SubstanceAir::RenderResult> result = output->grabResult();
            if (result && output->getDesc().identifier == "Output") {
                image = toImage(*result);
            }
        }
    }
    if (image) {
        substance->setCachedTexture(image);
        return image;
    }
    return substance->getCachedTexture();
}

} // namespace kvSubstance
