#include "tools/kvs/viewer/ViewSession.h"

#include "tools/compiler/CompileError.h"
#include "tools/compiler/PackageCompiler.h"
#include "tools/images/FileOutput.h"
#include "tools/kvs/Cli.h"
#include "tools/kvs/TextureConversion.h"
#include "tools/kvs/ValueEdits.h"

#include "framework/description/ChannelUsage.h"
#include "framework/render/RenderQueue.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <sstream>
#include <unistd.h>

namespace kvs::viewer {

namespace {

using nlohmann::json;

const char* const kWidgets[] = {"none", "slider", "angle", "toggle", "color", "image", "combobox"};

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

json components(const kvSubstance::SubstanceInput& input,
                int (kvSubstance::SubstanceInput::*readI)(int) const,
                float (kvSubstance::SubstanceInput::*readF)(int) const) {
    json values = json::array();
    for (int k = 0; k < (input.getType() & 7); ++k) {
        if ((input.getType() & 0x20) != 0) {
            values.push_back((input.*readI)(k));
        } else {
            values.push_back((input.*readF)(k));
        }
    }
    return values;
}

json inputJson(kvSubstance::SubstanceInput& input) {
    using I = kvSubstance::SubstanceInput;
    json item = {{"id", input.getIdentifier().str()},
                 {"label", input.getLabel().utf8()},
                 {"description", input.getDescription().utf8()},
                 {"integer", (input.getType() & 0x20) != 0},
                 {"count", input.getType() & 7},
                 {"widget", kWidgets[std::clamp(static_cast<int>(input.getWidget()), 0, 6)]},
                 {"value", components(input, &I::getValueI, &I::getValueF)},
                 {"default", components(input, &I::getDefaultI, &I::getDefaultF)},
                 {"clamp", input.shouldClamp()}};
    if (input.hasMin()) {
        item["min"] = components(input, &I::getMinI, &I::getMinF);
    }
    if (input.hasMax()) {
        item["max"] = components(input, &I::getMaxI, &I::getMaxF);
    }
    if (input.hasStep()) {
        item["step"] = components(input, &I::getStepI, &I::getStepF);
    }
    json items = json::array();
    const kv::vector<kvString::IString>& texts = input.getComboItem();
    for (size_t k = 0; k < texts.size(); ++k) {
        if (texts[k].utf8() != "-") { // the model's mark of an unused position
            items.push_back({{"value", k}, {"text", texts[k].utf8()}});
        }
    }
    item["items"] = items;
    return item;
}

// The value text the library reads ("0.5", "1,0,0"), from JSON numbers
// checked to be finite and within the input's type.
std::string valueText(kvSubstance::SubstanceInput& input, const json& value) {
    const json list = value.is_array() ? value : json::array({value});
    const int count = input.getType() & 7;
    const bool integers = (input.getType() & 0x20) != 0;
    if (count == 0 || (list.size() != 1 && list.size() != static_cast<size_t>(count))) {
        throw RequestError(400, "input " + input.getIdentifier().str() + " takes " + std::to_string(count) +
                                    " number" + (count == 1 ? "" : "s"));
    }
    std::ostringstream text;
    text.precision(9);
    for (size_t k = 0; k < list.size(); ++k) {
        if (!list[k].is_number()) {
            throw RequestError(400, "input " + input.getIdentifier().str() + " takes numbers");
        }
        double v = list[k].get<double>();
        const double limit = integers ? std::numeric_limits<int>::max() : std::numeric_limits<float>::max();
        if (!std::isfinite(v) || std::fabs(v) > limit || (integers && v != std::floor(v))) {
            throw RequestError(400, "input " + input.getIdentifier().str() + ": " + list[k].dump() +
                                        " is not a " + (integers ? "32-bit whole number" : "float"));
        }
        if (input.shouldClamp() && input.hasMin() && input.hasMax()) {
            const int c = static_cast<int>(std::min(k, static_cast<size_t>(count - 1)));
            v = std::clamp(v, integers ? input.getMinI(c) : double(input.getMinF(c)),
                           integers ? input.getMaxI(c) : double(input.getMaxF(c)));
        }
        text << (k == 0 ? "" : ",");
        if (integers) {
            text << static_cast<long long>(v);
        } else {
            text << v;
        }
    }
    return text.str();
}

// A rendered texture as the page shows it; one the page cannot show is the server's fault.
SharedImage displayed(const SubstanceTexture& texture) {
    try {
        return std::make_shared<const DisplayImage>(textureDisplayImage(texture));
    } catch (const Failure& e) {
        throw RequestError(500, e.what());
    }
}

} // namespace

ViewSession::ViewSession(const std::string& path, const std::string& stack)
    : mPath(path), mStack(stack), mFromSource(endsWith(path, ".json")) {
    if (mFromSource) {
        // A source that does not compile is shown on the page; one that is not there is a mistake.
        if (!std::filesystem::is_regular_file(mPath)) {
            throw Failure("cannot open the package source " + mPath);
        }
        mCompiled = std::filesystem::temp_directory_path() /
                    ("kvs-view-" + std::to_string(::getpid()) + "-" + graphFileName(path) + ".mpk");
        refresh();
    } else {
        mMaterial = std::make_unique<Material>(mPath, mStack);
        renderAll();
    }
}

ViewSession::~ViewSession() {
    if (mFromSource) {
        std::error_code ignored;
        std::filesystem::remove(mCompiled, ignored);
    }
}

bool ViewSession::refresh() {
    if (!mFromSource) {
        return false;
    }
    std::error_code error;
    const auto time = std::filesystem::last_write_time(mPath, error);
    const std::lock_guard<std::mutex> guard(mLock);
    if (time == mSourceTime) {
        return false; // an unreadable file keeps reading as the same (minimal) time
    }
    mSourceTime = time;
    ++mVersion;
    try {
        const kvcompiler::CompiledPackage package = kvcompiler::compilePackageFile(mPath);
        std::string failure;
        if (!kvimage::writeFileAtomically(mCompiled.string(), package.bytes.data(), package.bytes.size(),
                                          failure)) {
            throw Failure(failure);
        }
        // Values the author set survive a recompile when the inputs still exist.
        const std::string previous = mMaterial ? mMaterial->model()->getStateString().str() : "";
        auto material = std::make_unique<Material>(mCompiled.string(), mStack);
        material->model()->applyStateString(kvString::CString(previous));
        mMaterial = std::move(material);
        mError.clear();
        renderAll();
    } catch (const kvcompiler::CompileError& e) {
        mError = e.what();
    } catch (const std::exception& e) {
        mError = e.what();
    }
    return true;
}

Update ViewSession::renderAll() {
    SubstanceAir::GraphInstance& graph = mMaterial->graph();
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::string> stale;
    for (const auto& output : graph.getOutputs()) {
        output->setEnabled(true);
        if (output->isDirty() || mImages.count(output->getDesc().identifier) == 0) {
            output->setDirty(true);
            stale.push_back(output->getDesc().identifier);
        }
        while (output->grabResult()) {
            // an earlier render's result is stale
        }
    }
    {
        SubstanceAir::RenderQueue queue;
        queue.push(graph);
        queue.run();
    }
    std::map<std::string, SharedImage> images = mImages;
    NamedImages changed;
    for (const auto& output : graph.getOutputs()) {
        if (const std::unique_ptr<SubstanceAir::RenderResult> result = output->grabResult()) {
            const std::string& id = output->getDesc().identifier;
            changed.emplace_back(id, images[id] = displayed(result->getTexture()));
        } else if (std::count(stale.begin(), stale.end(), output->getDesc().identifier) != 0) {
            throw RequestError(422, "output " + output->getDesc().identifier +
                                        " was not rendered: the engine refused the values");
        }
    }
    mImages = std::move(images);
    mRenderMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    ++mVersion;
    return {{{"version", mVersion},
             {"state", mMaterial->model()->getStateString().str()},
             {"renderMs", mRenderMs}},
            std::move(changed)};
}

template <typename Edit>
Update ViewSession::edit(Edit&& change) {
    const std::lock_guard<std::mutex> guard(mLock);
    if (!mMaterial) {
        throw RequestError(409, "the source does not compile: " + mError);
    }
    const kvString::CString before = mMaterial->model()->getStateString();
    try {
        change(*mMaterial);
        return renderAll();
    } catch (...) {
        mMaterial->model()->applyStateString(before);
        for (const auto& output : mMaterial->graph().getOutputs()) {
            output->setDirty(false); // the images shown are of the values restored
        }
        throw;
    }
}

Update ViewSession::setValue(const std::string& identifier, const json& value) {
    return edit([&](Material& material) {
        if (material.model()->getInput(kvString::CString(identifier.c_str())) == nullptr) {
            throw RequestError(404, "no input " + identifier);
        }
        ValueEdits edits;
        edits.sets.emplace_back(identifier, valueText(material.input(identifier), value));
        applyEdits(material, edits);
    });
}

Update ViewSession::applyPreset(const std::string& label) {
    return edit([&](Material& material) {
        ValueEdits edits;
        edits.presets.push_back(label);
        applyEdits(material, edits);
    });
}

Update ViewSession::applyState(const std::string& text) {
    return edit([&](Material& material) {
        const std::string& url = material.model()->getPackageURL().str();
        if (text.compare(0, text.find('\n'), url) != 0 || text.find('\n') == std::string::npos) {
            throw RequestError(400, "not a state of " + url);
        }
        material.model()->applyStateString(kvString::CString(text));
    });
}

std::string ViewSession::state() {
    const std::lock_guard<std::mutex> guard(mLock);
    return mMaterial ? mMaterial->model()->getStateString().str() : "";
}

json ViewSession::describe() {
    const std::lock_guard<std::mutex> guard(mLock);
    json page = {{"version", mVersion}, {"error", mError}, {"source", mFromSource}, {"renderMs", mRenderMs}};
    if (!mMaterial) {
        return page;
    }
    kvSubstance::Substance& model = *mMaterial->model();
    page["label"] = model.getLabel().utf8();
    page["url"] = model.getPackageURL().str();
    page["state"] = model.getStateString().str();
    json inputs = json::array();
    for (const kvString::CString& id : model.getInputIds()) {
        inputs.push_back(inputJson(*model.getInput(id)));
    }
    page["inputs"] = inputs;
    json presets = json::array();
    for (const SubstanceAir::Preset& preset : mMaterial->graph().getDesc().presets) {
        presets.push_back(preset.label);
    }
    page["presets"] = presets;
    json outputs = json::array();
    for (const auto& output : mMaterial->graph().getOutputs()) {
        const SubstanceAir::OutputDesc& desc = output->getDesc();
        outputs.push_back({{"id", desc.identifier},
                           {"label", desc.label.empty() ? desc.identifier : desc.label},
                           {"usage", desc.channel < SubstanceAir::ChannelUsageCount
                                         ? SubstanceAir::getChannelNames()[desc.channel]
                                         : ""}});
    }
    page["outputs"] = outputs;
    return page;
}

NamedImages ViewSession::images(const std::vector<std::string>& outputs) {
    const std::lock_guard<std::mutex> guard(mLock);
    NamedImages found;
    for (const std::string& output : outputs) {
        const auto image = mImages.find(output);
        if (image == mImages.end() || !mError.empty()) {
            throw RequestError(404, "no image of output " + output);
        }
        found.emplace_back(output, image->second);
    }
    return found;
}

} // namespace kvs::viewer
