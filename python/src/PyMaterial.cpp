#include "python/src/PyMaterial.h"

#include "bridge/SubstanceBridge.h"
#include "framework/description/FormatFallback.h"
#include "framework/render/GraphInstance.h"
#include "framework/render/PackageStackDesc.h"
#include "framework/render/RenderQueue.h"

#include <algorithm>

namespace kvpy {

namespace {

std::unique_ptr<SubstanceAir::PackageDesc> loadPackage(const std::vector<char>& bytes, const char* which) {
    // Every format class, as kvs renders: the arrays take each output's own format.
    const SubstanceAir::OutputFormatOptions options = {SubstanceAir::AllFormatClasses, 0};
    std::unique_ptr<SubstanceAir::PackageDesc> package(
        new SubstanceAir::PackageDesc(bytes.data(), bytes.size(), &options));
    if (!package->loadProblem().empty()) {
        throw PackageError(std::string(which) + ": " + package->loadProblem());
    }
    return package;
}

std::string joined(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list.empty() ? "none" : list;
}

} // namespace

Material::Material(const std::vector<char>& package, const std::vector<char>& stack) {
    mBottom = loadPackage(package, "package");
    if (stack.empty()) {
        mModel = kvSubstance::createSubstance(mBottom.get());
    } else {
        mTop = loadPackage(stack, "stack");
        mModel = kvSubstance::createSubstance(mBottom.get(), mTop.get());
    }
    if (mModel->getGraphInstances().empty()) {
        const SubstanceAir::PackageDesc* stacked = mModel->getPackageStackDesc();
        throw PackageError("cannot stack the packages: " +
                           (stacked != nullptr ? stacked->loadProblem() : std::string("no graph")));
    }
}

Material::~Material() {
    // The model refers to the package descriptions: it goes first.
    mModel = kv::Reference<kvSubstance::Substance>();
}

std::vector<std::string> Material::inputIds() const {
    std::vector<std::string> ids;
    for (const kvString::CString& id : mModel->getInputIds()) {
        ids.push_back(id.str());
    }
    return ids;
}

kvSubstance::SubstanceInput& Material::input(const std::string& identifier) const {
    if (kvSubstance::SubstanceInput* found = mModel->getInput(kvString::CString(identifier.c_str()))) {
        return *found;
    }
    throw KeyError("no input " + identifier + " (inputs: " + joined(inputIds()) + ")");
}

std::vector<std::string> Material::outputIds() const {
    std::vector<std::string> ids;
    for (const auto& output : mModel->getGraphInstances().front()->getOutputs()) {
        ids.push_back(output->getDesc().identifier);
    }
    return ids;
}

std::vector<std::string> Material::presetLabels() const {
    std::vector<std::string> labels;
    for (const SubstanceAir::Preset& preset : mModel->getGraphInstances().front()->getDesc().presets) {
        labels.push_back(preset.label);
    }
    return labels;
}

void Material::applyPreset(const std::string& label) {
    for (const SubstanceAir::Preset& preset : mModel->getGraphInstances().front()->getDesc().presets) {
        if (preset.label == label) {
            if (!kvSubstance::applyPreset(mModel, preset)) {
                throw ValueError("preset \"" + label + "\" names inputs this material does not have");
            }
            return;
        }
    }
    throw KeyError("no preset \"" + label + "\" (presets: " + joined(presetLabels()) + ")");
}

void Material::sync(kvSubstance::SubstanceInput& input) {
    kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(mModel, &input);
}

std::string Material::state() const {
    return mModel->getStateString().str();
}

void Material::applyState(const std::string& text) {
    // The library ignores the state of another package silently; Python hears why.
    const std::string& url = mModel->getPackageURL().str();
    const size_t end = text.find('\n');
    if (end == std::string::npos || text.compare(0, end, url) != 0) {
        throw ValueError("not a state of " + url + " (its first line must be the package URL)");
    }
    mModel->applyStateString(kvString::CString(text));
}

RenderResults Material::render(const std::vector<std::string>& outputs) {
    const std::vector<std::string> known = outputIds();
    for (const std::string& name : outputs) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            throw KeyError("no output " + name + " (outputs: " + joined(known) + ")");
        }
    }
    SubstanceAir::GraphInstance& graph = *mModel->getGraphInstances().front();
    for (const auto& output : graph.getOutputs()) {
        const std::string& id = output->getDesc().identifier;
        const bool wanted = outputs.empty() || std::find(outputs.begin(), outputs.end(), id) != outputs.end();
        output->setEnabled(wanted);
        // Unchanged nodes come from the engine's cache, so asking again is cheap.
        output->setDirty(output->isDirty() || wanted);
        while (output->grabResult()) {
            // a result left from an earlier render is stale
        }
    }
    {
        SubstanceAir::RenderQueue queue;
        queue.push(graph);
        queue.run();
    }
    RenderResults rendered;
    for (const auto& output : graph.getOutputs()) {
        if (!output->isEnabled()) {
            continue;
        }
        std::unique_ptr<SubstanceAir::RenderResult> result = output->grabResult();
        if (!result) {
            throw PackageError(
                "output " + output->getDesc().identifier +
                " was not rendered (the engine refused the render; is $outputsize within 1 to 13?)");
        }
        shapeOf(result->getTexture()); // a PackageError now for a format without an array
        rendered[output->getDesc().identifier] = std::move(result);
    }
    return rendered;
}

Texture Material::texture() {
    Texture result;
    result.image = kvSubstance::getTextureFromSubstance(mModel.get());
    const auto* image = dynamic_cast<const ilSPMemoryImg*>(result.image.get());
    if (image == nullptr) {
        return result;
    }
    result.shape = {PixelShape::Element::UInt8, image->getSize().x, image->getSize().y, 4};
    if (image->getDataSize() < result.shape.byteCount()) {
        throw PackageError("the texture holds fewer bytes than its size calls for");
    }
    result.bytes = image->getData();
    return result;
}

} // namespace kvpy
