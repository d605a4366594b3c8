// What `kvs render` needs from a package's description.xml: per graph its
// URL, its inputs and outputs by UID, and its presets.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvs {

struct SummaryInput {
    uint32_t uid = 0;
    std::string identifier;
    uint32_t type = 0;
};

struct SummaryOutput {
    uint32_t uid = 0;
    std::string identifier;
    std::string channel; // usage name, empty when none
};

struct SummaryPreset {
    std::string label;
    std::vector<std::pair<uint32_t, std::string>> values; // input UID, value text
};

struct SummaryGraph {
    std::string url;
    std::vector<SummaryInput> inputs;
    std::vector<SummaryOutput> outputs;
    std::vector<SummaryPreset> presets;
};

// False with a one-line `error` when the text is not a package description.
bool readDescriptionSummary(const std::string& xml, std::vector<SummaryGraph>& graphs, std::string& error);

// A file-name-safe short name of a graph: the last segment of its URL.
std::string graphFileName(const std::string& url);

} // namespace kvs
