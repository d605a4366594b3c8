#include "tools/kvs/PackageLinking.h"

#include "platform/engine/LinkerInterface.h"

namespace kvs {

namespace {

// The description callback has no user pointer; the tool links on one thread.
std::string* capturedDescription = nullptr;

void captureDescription(SubstanceLinkerHandle*, unsigned int, const char* xml) {
    if (capturedDescription && xml)
        *capturedDescription = xml;
}

struct LinkerSession {
    SubstanceLinkerContext* context = nullptr;
    SubstanceLinkerHandle* handle = nullptr;
    ~LinkerSession() {
        if (handle)
            substanceLinkerHandleRelease(handle);
        if (context)
            substanceLinkerContextRelease(context);
        capturedDescription = nullptr;
    }
};

std::string statusText(int status) {
    return " (linker status " + std::to_string(status) + ")";
}

bool push(LinkerSession& session, const std::vector<char>& package, const char* which,
          std::vector<SummaryGraph>& graphs, std::string& error) {
    std::string description;
    capturedDescription = &description;
    int status = substanceLinkerHandlePushAssemblyMemory(session.handle, package.data(), package.size());
    capturedDescription = nullptr;
    if (status != 0) {
        error = std::string("the ") + which + " package is not a valid package" + statusText(status);
        return false;
    }
    if (!readDescriptionSummary(description, graphs, error)) {
        error = std::string("the ") + which + " package: " + error;
        return false;
    }
    return true;
}

const SummaryOutput* feedingOutput(const SummaryGraph& bottom) {
    for (const SummaryOutput& output : bottom.outputs)
        if (output.identifier == "Output")
            return &output;
    for (const SummaryOutput& output : bottom.outputs)
        if (output.channel == "diffuse")
            return &output;
    return nullptr;
}

bool connectStack(LinkerSession& session, const SummaryGraph& bottom, const SummaryGraph& top,
                  std::string& error) {
    const SummaryInput* image = nullptr;
    int images = 0;
    for (const SummaryInput& input : top.inputs)
        if (input.type == 5) {
            image = &input;
            ++images;
        }
    if (images != 1) {
        error = "the stacked graph " + top.url + " has " + std::to_string(images) +
                " image inputs; --stack needs exactly one";
        return false;
    }
    const SummaryOutput* feed = feedingOutput(bottom);
    if (!feed) {
        error = "the graph " + bottom.url + " has no \"Output\" and no diffuse output to stack onto";
        return false;
    }
    if (int status = substanceLinkerConnectOutputToInput(session.handle, image->uid, feed->uid)) {
        error = "cannot connect " + bottom.url + " to " + top.url + statusText(status);
        return false;
    }
    for (const SummaryOutput& output : bottom.outputs)
        if (output.uid != feed->uid)
            if (int status = substanceLinkerHandleSelectOutputs(session.handle, SubstanceLinkerSelect_Drop,
                                                                output.uid)) {
                error = "cannot drop output " + output.identifier + statusText(status);
                return false;
            }
    for (const SummaryInput& topInput : top.inputs) {
        if (topInput.identifier.empty() || topInput.identifier[0] != '$')
            continue;
        for (const SummaryInput& bottomInput : bottom.inputs)
            if (bottomInput.identifier == topInput.identifier)
                if (int status = substanceLinkerFuseInputs(session.handle, bottomInput.uid, topInput.uid)) {
                    error = "cannot fuse input " + topInput.identifier + statusText(status);
                    return false;
                }
    }
    return true;
}

} // namespace

bool linkPackages(const std::vector<char>& bottom, const std::vector<char>* top, LinkedPackages& linked,
                  std::string& error) {
    LinkerSession session;
    int status = substanceLinkerContextInit(&session.context, SubstanceApiVersion, SubstanceCpuEngineId);
    if (status == 0)
        status = substanceLinkerContextSetCallback(session.context, SubstanceLinkerCallback_XmlDescription,
                                                   reinterpret_cast<SubstanceCallback>(captureDescription));
    if (status == 0)
        status = substanceLinkerHandleInit(&session.handle, session.context);
    if (status != 0) {
        error = "cannot start the linker" + statusText(status);
        return false;
    }
    if (!push(session, bottom, "first", linked.bottom, error))
        return false;
    if (top) {
        if (!push(session, *top, "stacked", linked.top, error))
            return false;
        if (!connectStack(session, linked.bottom.front(), linked.top.front(), error))
            return false;
    }
    const char* data = nullptr;
    size_t size = 0;
    status = substanceLinkerHandleLink(session.handle, &data, &size);
    if (status != 0 || !data) {
        error = "linking failed" + statusText(status);
        return false;
    }
    linked.assembly.assign(data, data + size);
    return true;
}

} // namespace kvs
