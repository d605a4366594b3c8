// The node reference printed by `kvs nodes` and committed as docs/nodes.md:
// the committed file is what the catalogue generates, and every form lists
// every kind with every parameter and image input as the catalogue has them.
#include "tools/compiler/NodeReference.h"

#include "engine/nodes/NodeCatalog.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <sstream>

namespace kvcompiler {
namespace {

using Json = nlohmann::json;

TEST(NodeReference, DocsNodesMdIsWhatTheCatalogueGenerates) {
    std::ifstream file(KV_SOURCE_DIR "/docs/nodes.md", std::ios::binary);
    std::stringstream committed;
    committed << file.rdbuf();
    EXPECT_TRUE(committed.str() == catalogueMarkdown())
        << "docs/nodes.md differs from the catalogue; regenerate it with `kvs nodes --markdown > "
           "docs/nodes.md`";
}

TEST(NodeReference, EveryFormListsEveryKindParameterAndInput) {
    const std::string markdown = catalogueMarkdown();
    const Json json = Json::parse(catalogueJson());
    ASSERT_EQ(json["kinds"].size(), kvengine::nodeCatalog().size());
    for (size_t k = 0; k < kvengine::nodeCatalog().size(); ++k) {
        const kvengine::NodeKindInfo& kind = kvengine::nodeCatalog()[k];
        SCOPED_TRACE(kind.name);
        const Json& entry = json["kinds"][k];
        EXPECT_EQ(entry, Json::parse(kindJson(kind)));
        EXPECT_EQ(entry["name"], kind.name);
        const std::string text = kindText(kind);
        const size_t section = markdown.find("\n## " + std::string(kind.name) + "\n");
        ASSERT_NE(section, std::string::npos);
        const std::string rows = markdown.substr(section, markdown.find("\n## ", section + 1) - section);
        ASSERT_EQ(entry["parameters"].size(), kind.params.size());
        for (size_t p = 0; p < kind.params.size(); ++p) {
            const kvengine::ParamSpec& spec = kind.params[p];
            const Json& param = entry["parameters"][p];
            EXPECT_EQ(param["name"], spec.name);
            EXPECT_EQ(param["min"].get<float>(), spec.min);
            EXPECT_EQ(param["max"].get<float>(), spec.max);
            EXPECT_EQ(param["default"].size(), spec.components);
            EXPECT_EQ(param["labels"].size(), spec.labels.size());
            const std::string summary = valueSummary(spec);
            EXPECT_NE(text.find(summary + "; default " + defaultText(spec)), std::string::npos) << spec.name;
            EXPECT_NE(rows.find("| `" + std::string(spec.name) + "` | " + summary + " |"), std::string::npos)
                << spec.name;
        }
        ASSERT_EQ(entry["inputs"].size(), kind.imageInputs.size());
        for (size_t i = 0; i < kind.imageInputs.size(); ++i) {
            EXPECT_EQ(entry["inputs"][i]["name"], kind.imageInputs[i].name);
            EXPECT_NE(text.find(kind.imageInputs[i].name), std::string::npos);
            EXPECT_NE(rows.find("| `" + std::string(kind.imageInputs[i].name) + "` |"), std::string::npos);
        }
    }
}

TEST(NodeReference, SummariesSayRangeUnitAndRounding) {
    auto spec = [](const char* kind, const char* name) {
        const kvengine::NodeKindInfo& info = *kvengine::findNodeKind(kind);
        return info.params.at(static_cast<size_t>(kvengine::findParam(info, name)));
    };
    EXPECT_EQ(valueSummary(spec("noise.fbm", "octaves")), "int, 1 to 12");
    EXPECT_EQ(valueSummary(spec("blur", "radius")),
              "float, 0 to 0.5 (editor 0 to 0.1), fraction of the texture side");
    EXPECT_EQ(defaultText(spec("blur", "radius")), "0.01 (10.24 px at 1024)");
    EXPECT_EQ(valueSummary(spec("transform2d", "offset")), "float2, texture position, wraps around");
    EXPECT_EQ(valueSummary(spec("pattern.checker", "tiles")),
              "int, 2 to 4096 (editor 2 to 64), rounded up to even");
    EXPECT_EQ(valueSummary(spec("noise.cellular", "mode")), "enum: 0 f1, 1 f2, 2 f2_minus_f1, 3 cell_value");
    EXPECT_EQ(defaultText(spec("noise.cellular", "mode")), "f1");
    EXPECT_EQ(defaultText(spec("gradient.linear", "mirror")), "false");
}

} // namespace
} // namespace kvcompiler
