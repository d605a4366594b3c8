#include "tools/compiler/CompileError.h"
#include "tools/compiler/DescriptionWriter.h"
#include "tools/compiler/PackageCompiler.h"
#include "tools/compiler/UidAllocator.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <tinyxml.h>

#include <cstdlib>
#include <functional>
#include <map>

namespace kvcompiler {
namespace {

using Json = nlohmann::json;

// A small but complete material: every widget, an image input, two outputs
// fed by different parts of the graph, and a preset.
Json baseSource() {
    return Json::parse(R"({
      "graphs": [{
        "url": "pkg://tests/tiles", "label": "Tiles", "description": "test graph",
        "inputs": [
          {"identifier": "amount", "type": "float", "default": 0.25,
           "gui": {"widget": "slider", "label": "Amount", "min": 0, "max": 1, "step": 0.01, "clamp": true}},
          {"identifier": "tint", "type": "float3", "default": [0.5, 0.25, 0.1],
           "gui": {"widget": "color", "label": "Tint", "description": "colour of the tiles"}},
          {"identifier": "count", "type": "int2", "default": [4, 8],
           "gui": {"widget": "slider", "label": "Count", "min": 1, "max": 64}},
          {"identifier": "angle", "type": "float", "default": 0,
           "gui": {"widget": "angle", "label": "Angle", "min": 0, "max": 1}},
          {"identifier": "flip", "type": "int", "default": 1, "gui": {"widget": "togglebutton", "label": "Flip"}},
          {"identifier": "mode", "type": "int", "default": 2,
           "gui": {"widget": "combobox", "label": "Mode",
                   "items": [{"value": 0, "text": "Copy"}, {"value": 2, "text": "Subtract & more"}]}},
          {"identifier": "unused", "type": "float"},
          {"identifier": "overlay", "type": "image", "gui": {"widget": "image", "label": "Overlay"}}
        ],
        "outputs": [
          {"identifier": "Output", "format": "rgba8", "usage": "diffuse", "label": "Base colour", "node": "mixed"},
          {"identifier": "height", "format": "l16", "mipmaps": 1, "usage": "height", "node": "bricks"}
        ],
        "presets": [
          {"label": "Dense", "description": "many tiles", "values": {"count": [16, 32], "amount": 0.5}}
        ],
        "nodes": [
          {"id": "bricks", "kind": "pattern.bricks", "params": {"bricks": "count", "seed": "angle * 4"}},
          {"id": "paint", "kind": "color.uniform", "params": {"color": ["tint.x", "tint.y", "tint.z", 1]}},
          {"id": "picture", "kind": "input.image", "graphinput": "overlay"},
          {"id": "mixed", "kind": "blend",
           "params": {"mode": "mode", "opacity": "amount * flip"},
           "inputs": {"foreground": "paint", "background": "bricks", "mask": "picture"}}
        ]
      }]
    })");
}

CompiledPackage compile(const Json& source) {
    return compilePackageSource(source.dump(), "tiles.json");
}

std::string errorOf(const std::function<void(Json&)>& edit) {
    Json source = baseSource();
    edit(source);
    try {
        compile(source);
    } catch (const CompileError& e) {
        return e.what();
    }
    return "(compiled)";
}

const TiXmlElement* child(const TiXmlNode* parent, const char* name) {
    const TiXmlElement* element = parent ? parent->FirstChildElement(name) : nullptr;
    if (!element)
        ADD_FAILURE() << "missing element " << name;
    return element;
}

std::map<std::string, const TiXmlElement*> byIdentifier(const TiXmlElement* list, const char* name) {
    std::map<std::string, const TiXmlElement*> result;
    for (const TiXmlElement* e = list->FirstChildElement(name); e; e = e->NextSiblingElement(name))
        result[e->Attribute("identifier")] = e;
    return result;
}

std::string attr(const TiXmlElement* element, const char* name) {
    const char* value = element ? element->Attribute(name) : nullptr;
    return value ? value : "(absent)";
}

uint32_t uidOf(const TiXmlElement* element) {
    return boost::lexical_cast<uint32_t>(attr(element, "uid"));
}

class CompiledTiles : public ::testing::Test {
protected:
    void SetUp() override {
        package = compile(baseSource());
        document.Parse(package.description.c_str());
        ASSERT_FALSE(document.Error()) << document.ErrorDesc();
        root = document.FirstChildElement("sbsdescription");
        ASSERT_NE(root, nullptr);
        graph = child(child(root, "graphs"), "graph");
        ASSERT_NE(graph, nullptr);
        outputs = byIdentifier(child(graph, "outputs"), "output");
        inputs = byIdentifier(child(graph, "inputs"), "input");
    }

    CompiledPackage package;
    TiXmlDocument document;
    const TiXmlElement* root = nullptr;
    const TiXmlElement* graph = nullptr;
    std::map<std::string, const TiXmlElement*> outputs, inputs;
};

TEST_F(CompiledTiles, DescriptionCarriesWhatBothReadersNeed) {
    EXPECT_EQ(attr(root, "content"), "full");
    EXPECT_EQ(boost::lexical_cast<uint32_t>(attr(root, "asmuid")), package.assembly.uid);
    EXPECT_NE(package.assembly.uid, 0u);
    EXPECT_EQ(attr(root->FirstChildElement("graphs"), "count"), "1");
    EXPECT_EQ(attr(graph, "pkgurl"), "pkg://tests/tiles");
    EXPECT_EQ(attr(graph, "label"), "Tiles");

    ASSERT_EQ(outputs.size(), 2u);
    const TiXmlElement* output = outputs["Output"];
    EXPECT_EQ(attr(output, "format"), "0");
    EXPECT_EQ(attr(output, "width"), "512");
    EXPECT_EQ(attr(output, "height"), "512");
    EXPECT_EQ(attr(output, "mipmaps"), "0");
    EXPECT_EQ(attr(output, "dynamicsize"), "yes");
    const TiXmlElement* gui = child(output, "outputgui");
    EXPECT_EQ(attr(gui, "label"), "Base colour");
    EXPECT_EQ(attr(child(child(gui, "channels"), "channel"), "names"), "diffuse");
    EXPECT_EQ(attr(outputs["height"], "format"), "28");
    EXPECT_EQ(attr(outputs["height"], "mipmaps"), "1");
    EXPECT_EQ(attr(child(outputs["height"], "outputgui"), "label"), "height");

    // Declared inputs plus the two system inputs.
    ASSERT_EQ(inputs.size(), 10u);
    EXPECT_EQ(attr(inputs["$outputsize"], "type"), "8");
    EXPECT_EQ(attr(inputs["$outputsize"], "default"), "9,9");
    EXPECT_EQ(attr(inputs["$randomseed"], "type"), "4");
    EXPECT_EQ(attr(inputs["$randomseed"], "default"), "0");
    EXPECT_EQ(inputs["$randomseed"]->FirstChildElement("inputgui"), nullptr);

    const TiXmlElement* amount = inputs["amount"];
    EXPECT_EQ(attr(amount, "type"), "0");
    EXPECT_EQ(attr(amount, "default"), "0.25");
    EXPECT_EQ(attr(amount, "min"), "0");
    EXPECT_EQ(attr(amount, "max"), "1");
    const TiXmlElement* amountGui = child(amount, "inputgui");
    EXPECT_EQ(attr(amountGui, "widget"), "slider");
    EXPECT_EQ(attr(amountGui, "label"), "Amount");
    const TiXmlElement* slider = amountGui->FirstChildElement();
    ASSERT_NE(slider, nullptr);
    EXPECT_STREQ(slider->Value(), "guislider");
    EXPECT_EQ(attr(slider, "min"), "0");
    EXPECT_EQ(attr(slider, "max"), "1");
    EXPECT_EQ(attr(slider, "step"), "0.01");
    EXPECT_EQ(attr(slider, "clamp"), "on");

    EXPECT_EQ(attr(inputs["tint"], "type"), "2");
    EXPECT_EQ(attr(inputs["tint"], "default"), "0.5,0.25,0.1");
    EXPECT_EQ(attr(child(inputs["tint"], "inputgui"), "description"), "colour of the tiles");
    EXPECT_EQ(attr(inputs["count"], "type"), "8");
    EXPECT_EQ(attr(inputs["count"], "min"), "1,1"); // one number fills every component
    EXPECT_EQ(attr(inputs["flip"], "max"), "1");    // implied by the toggle
    EXPECT_EQ(attr(inputs["overlay"], "type"), "5");
    EXPECT_EQ(attr(inputs["overlay"], "default"), "(absent)");
    EXPECT_EQ(inputs["unused"]->FirstChildElement("inputgui"), nullptr);

    const TiXmlElement* combo = child(inputs["mode"], "inputgui")->FirstChildElement();
    ASSERT_NE(combo, nullptr);
    EXPECT_STREQ(combo->Value(), "guicombobox");
    std::vector<std::pair<std::string, std::string>> items;
    for (const TiXmlElement* item = combo->FirstChildElement("guicomboboxitem"); item;
         item = item->NextSiblingElement("guicomboboxitem"))
        items.emplace_back(attr(item, "value"), attr(item, "text"));
    EXPECT_EQ(items,
              (std::vector<std::pair<std::string, std::string>>{{"0", "Copy"}, {"2", "Subtract & more"}}));
    EXPECT_EQ(attr(inputs["mode"], "min"), "0");
    EXPECT_EQ(attr(inputs["mode"], "max"), "2");

    const TiXmlElement* preset = child(child(graph, "sbspresets"), "sbspreset");
    EXPECT_EQ(attr(preset, "label"), "Dense");
    EXPECT_EQ(attr(preset, "description"), "many tiles");
    EXPECT_EQ(attr(preset, "pkgurl"), "pkg://tests/tiles");
    std::map<std::string, const TiXmlElement*> values = byIdentifier(preset, "presetinput");
    EXPECT_EQ(attr(values["count"], "value"), "16,32");
    EXPECT_EQ(attr(values["count"], "type"), "8");
    EXPECT_EQ(uidOf(values["count"]), uidOf(inputs["count"]));
    EXPECT_EQ(attr(values["amount"], "value"), "0.5");
}

TEST_F(CompiledTiles, NumbersReadBackExactlyByBothConversions) {
    Json source = baseSource();
    source["graphs"][0]["inputs"][0]["default"] = 0.1;
    source["graphs"][0]["inputs"][1]["default"] = {1e-7, 123456.78, -0.3};
    CompiledPackage compiled = compile(source);
    TiXmlDocument doc;
    doc.Parse(compiled.description.c_str());
    auto in = byIdentifier(
        doc.RootElement()->FirstChildElement("graphs")->FirstChildElement("graph")->FirstChildElement(
            "inputs"),
        "input");
    std::string amount = attr(in["amount"], "default");
    EXPECT_EQ(boost::lexical_cast<float>(amount), 0.1f);
    EXPECT_EQ(static_cast<float>(std::atof(amount.c_str())), 0.1f);
    std::string tint = attr(in["tint"], "default");
    EXPECT_EQ(tint.find(' '), std::string::npos);
    const float expected[] = {1e-7f, 123456.78f, -0.3f};
    size_t start = 0;
    for (float value : expected) {
        size_t end = tint.find(',', start);
        std::string piece = tint.substr(start, end == std::string::npos ? std::string::npos : end - start);
        EXPECT_EQ(boost::lexical_cast<float>(piece), value) << piece;
        EXPECT_EQ(static_cast<float>(std::atof(piece.c_str())), value) << piece;
        start = end + 1;
    }
}

TEST_F(CompiledTiles, InputsAlterTheOutputsTheirNodesFeed) {
    auto altered = [&](const char* input) { return attr(inputs[input], "alteroutputs"); };
    std::string output = std::to_string(uidOf(outputs["Output"]));
    std::string height = std::to_string(uidOf(outputs["height"]));
    std::string both =
        uidOf(outputs["Output"]) < uidOf(outputs["height"]) ? output + "," + height : height + "," + output;
    EXPECT_EQ(altered("count"), both);  // bricks feed both outputs
    EXPECT_EQ(altered("angle"), both);  // through the bricks' seed expression
    EXPECT_EQ(altered("tint"), output); // only the blend reads the colour
    EXPECT_EQ(altered("mode"), output);
    EXPECT_EQ(altered("flip"), output);
    EXPECT_EQ(altered("overlay"), output); // through the input.image node
    EXPECT_EQ(altered("unused"), "(absent)");
    EXPECT_EQ(altered("$outputsize"), both); // system inputs alter everything
    EXPECT_EQ(altered("$randomseed"), both);
}

TEST_F(CompiledTiles, AssemblyAndPackageRoundTrip) {
    kvengine::PackageContents contents;
    ASSERT_EQ(kvengine::readPackage(package.bytes.data(), package.bytes.size(), contents), 0);
    EXPECT_EQ(contents.description, package.description);
    kvengine::Assembly assembly;
    ASSERT_EQ(kvengine::readAssembly(contents.assembly.data(), contents.assembly.size(), assembly), 0);
    ASSERT_EQ(assembly.graphs.size(), 1u);
    const kvengine::Graph& g = assembly.graphs[0];
    EXPECT_EQ(assembly.uid, package.assembly.uid);
    ASSERT_EQ(g.nodes.size(), 4u);
    EXPECT_EQ(g.nodes[3].op, "blend");
    EXPECT_EQ(g.nodes[3].imageInputs, (std::vector<int32_t>{1, 0, 2})); // foreground, background, mask
    EXPECT_EQ(g.nodes[2].graphInput, 7u);                               // "overlay"
    EXPECT_EQ(g.outputs[0].node, 3u);
    EXPECT_EQ(g.outputs[1].channel, 8u); // "height"
    EXPECT_EQ(g.inputs[2].defaultValue.i[1], 8);
    // The colour list becomes tint.x*(1,0,0,0) + tint.y*(0,1,0,0) + ... + 1*(0,0,0,1).
    const kvengine::Expression& color = g.nodes[1].params[0];
    ASSERT_EQ(color.code.size(), 18u);
    EXPECT_EQ(color.code[0].op, kvengine::Op::Input);
    EXPECT_EQ(color.code[1].op, kvengine::Op::Component);
    EXPECT_EQ(color.code[2].value.f[0], 1.0f);
    EXPECT_EQ(color.code[2].value.f[1], 0.0f);
    EXPECT_EQ(color.code.back().op, kvengine::Op::Add);
}

TEST(CompilerUids, StableDistinctAndNeverZero) {
    CompiledPackage a = compile(baseSource());
    CompiledPackage b = compile(baseSource());
    EXPECT_EQ(a.description, b.description);
    EXPECT_EQ(a.bytes, b.bytes);

    std::set<uint32_t> uids{a.assembly.uid};
    for (const auto& input : a.assembly.graphs[0].inputs)
        uids.insert(input.uid);
    for (const auto& output : a.assembly.graphs[0].outputs)
        uids.insert(output.uid);
    EXPECT_EQ(uids.size(), 1u + 10u + 2u);
    EXPECT_EQ(uids.count(0), 0u);

    // Another package URL gives other UIDs for the same identifiers.
    Json other = baseSource();
    other["graphs"][0]["url"] = "pkg://tests/other";
    CompiledPackage c = compile(other);
    EXPECT_NE(c.assembly.uid, a.assembly.uid);
    EXPECT_NE(c.assembly.graphs[0].inputs[0].uid, a.assembly.graphs[0].inputs[0].uid);
}

TEST(CompilerUids, CollisionsAreRehashed) {
    UidAllocator uids;
    uint32_t first = uids.allocate("pkg://x", "input", "a");
    EXPECT_EQ(first, hashUid("pkg://x", "input", "a", 0));
    uint32_t again = uids.allocate("pkg://x", "input", "a");
    EXPECT_NE(again, first);
    EXPECT_NE(again, 0u);
}

std::string sourceError(const std::string& text) {
    try {
        compilePackageSource(text, "bad.json");
    } catch (const CompileError& e) {
        return e.what();
    }
    return "(compiled)";
}

TEST(CompilerErrors, MalformedSourcesGiveOneLine) {
    EXPECT_EQ(sourceError("{\"graphs\": [").rfind("bad.json: not valid JSON: ", 0), 0u);
    EXPECT_EQ(sourceError("[1, 2]"), "bad.json: expected an object");
    EXPECT_EQ(sourceError("{\"graphs\": [1]}"), "bad.json: every graph must be an object");
    EXPECT_EQ(sourceError(R"({"graphs": [{"label": "x"}]})"), "bad.json: graph: missing 'url'");
    EXPECT_EQ(sourceError(R"({"graphs": [{"url": ""}]})"), "bad.json: graph: 'url' must not be empty");
    EXPECT_EQ(
        sourceError(R"({"graphs": [{"url": "x", "label": 1e999}]})").rfind("bad.json: not valid JSON: ", 0),
        0u);
    std::string deep = "{\"graphs\": " + std::string(200000, '[') + std::string(200000, ']') + "}";
    EXPECT_EQ(sourceError(deep), "bad.json: every graph must be an object");
    EXPECT_NE(sourceError(std::string(5u << 20, ' ')).find("source larger than"), std::string::npos);
}

// Names quoted from the source or its path cannot carry terminal escapes,
// line breaks or malformed UTF-8 into a message.
TEST(CompilerErrors, QuotedNamesArePrintable) {
    EXPECT_EQ(errorOf([](Json& s) { s["graphs"][0]["nodes"][0]["kind"] = "\x1b[2J\nbrick\u00e9"; }),
              "tiles.json: graph 'pkg://tests/tiles': node 'bricks': unknown kind '\\x1b[2J\\x0abrick\u00e9'");
    try {
        compilePackageSource("[]", "bad\xff\xc0.json");
        ADD_FAILURE() << "compiled";
    } catch (const CompileError& e) {
        EXPECT_EQ(std::string(e.what()), "bad\\xff\\xc0.json: expected an object");
    }
}

TEST(CompilerErrors, EachFaultNamesItsPlace) {
    auto g = [](Json& s) -> Json& { return s["graphs"][0]; };
    struct Case {
        std::function<void(Json&)> edit;
        const char* message;
    };
    const Case cases[] = {
        {[&](Json& s) { g(s)["nodes"][0]["kind"] = "pattern.brick"; },
         "tiles.json: graph 'pkg://tests/tiles': node 'bricks': unknown kind 'pattern.brick'"},
        {[&](Json& s) { g(s)["nodes"][0]["params"]["rows"] = 2; }, "node 'bricks': unknown parameter 'rows'"},
        {[&](Json& s) {
             g(s)["nodes"][0]["params"]["bricks"] = Json::array({1, 2, 3});
         },
         "parameter 'bricks': has 3 components, the parameter takes 2"},
        {[&](Json& s) { g(s)["nodes"][0]["params"]["bricks"] = "tint"; },
         "parameter 'bricks': yields 3 components, the parameter takes 2"},
        {[&](Json& s) { g(s)["nodes"][0]["params"]["seed"] = "angel * 4"; }, "unknown input 'angel'"},
        {[&](Json& s) {
             g(s)["nodes"][0]["params"]["bricks"] = Json::array({4, 2000});
         },
         "tiles.json: graph 'pkg://tests/tiles': node 'bricks': parameter 'bricks': 4,2000 is outside the "
         "range 1 "
         "to 1024"},
        {[&](Json& s) { g(s)["nodes"][0]["params"]["seed"] = 2.5; },
         "parameter 'seed': 2.5 must be a whole number"},
        {[&](Json& s) { g(s)["nodes"][3]["params"]["mode"] = "multipy"; },
         "node 'mixed': parameter 'mode': unknown label 'multipy' (it has 0 copy, 1 add, 2 subtract, 3 "
         "multiply, "},
        {[&](Json& s) { g(s)["nodes"][3]["params"]["mode"] = 11; },
         "parameter 'mode': 11 is not one of 0 copy, 1 add, "},
        {[&](Json& s) { g(s)["nodes"][2]["graphinput"] = "amount"; }, "which is not an image input"},
        {[&](Json& s) { g(s)["nodes"][3]["inputs"]["foreground"] = "nowhere"; }, "unknown node 'nowhere'"},
        {[&](Json& s) { g(s)["nodes"][3]["inputs"]["top"] = "paint"; }, "unknown image input 'top'"},
        {[&](Json& s) {
             g(s)["nodes"].push_back(
                 Json::parse(R"({"id": "a", "kind": "invert", "inputs": {"input": "b"}})"));
             g(s)["nodes"].push_back(
                 Json::parse(R"({"id": "b", "kind": "invert", "inputs": {"input": "a"}})"));
         },
         "feeds itself through a cycle"},
        {[&](Json& s) { g(s)["nodes"][1]["id"] = "bricks"; }, "node 'bricks': duplicate node id"},
        {[&](Json& s) { g(s)["inputs"][1]["identifier"] = "amount"; },
         "input 'amount': duplicate input identifier"},
        {[&](Json& s) { g(s)["outputs"][1]["identifier"] = "Output"; }, "output 'Output': duplicate output"},
        {[&](Json& s) { g(s)["outputs"][0]["node"] = "nothing"; },
         "output 'Output': 'node' names unknown node"},
        {[&](Json& s) { g(s)["outputs"][0]["format"] = "rgb10"; }, "unknown format 'rgb10'"},
        {[&](Json& s) { g(s)["outputs"][0]["usage"] = "Diffuse"; }, "unknown channel usage 'Diffuse'"},
        {[&](Json& s) { g(s)["outputs"] = Json::array(); }, "a graph needs at least one output"},
        {[&](Json& s) { g(s)["inputs"][0]["gui"]["widget"] = "knob"; }, "unknown widget 'knob'"},
        {[&](Json& s) { g(s)["inputs"][0]["gui"]["widget"] = "combobox"; },
         "input 'amount': gui: a combo box needs an int input, not float"},
        {[&](Json& s) { g(s)["inputs"][1]["gui"]["widget"] = "angle"; },
         "widget 'angle' does not fit a float3"},
        {[&](Json& s) { g(s)["inputs"][0]["default"] = 2; },
         "input 'amount': default 2 is above the maximum 1"},
        {[&](Json& s) {
             g(s)["inputs"][2]["default"] = Json::array({0, 4});
         },
         "default 0,4 is below the minimum 1,1"},
        {[&](Json& s) {
             g(s)["inputs"][1]["default"] = Json::array({1, 2});
         },
         "the default has 2 components, the float3 input needs 3"},
        {[&](Json& s) { g(s)["inputs"][4]["default"] = 1.5; }, "must be a whole number"},
        {[&](Json& s) { g(s)["inputs"][4]["default"] = 2; }, "toggle button must be 0 or 1"},
        {[&](Json& s) { g(s)["inputs"][5]["default"] = 1; }, "default 1 is not the value of any combo item"},
        {[&](Json& s) { g(s)["inputs"][5]["gui"]["items"][1]["value"] = 36; }, "values must be 0 to 35"},
        {[&](Json& s) { g(s)["inputs"][5]["gui"]["items"][1]["value"] = 0; },
         "two combo items have the value 0"},
        {[&](Json& s) { g(s)["inputs"][0]["gui"]["min"] = 2; }, "minimum 2 is above maximum 1"},
        {[&](Json& s) { g(s)["inputs"][0]["type"] = "double"; }, "unknown type 'double'"},
        {[&](Json& s) { g(s)["inputs"][0]["defualt"] = 1; }, "input 'amount': unknown key 'defualt'"},
        {[&](Json& s) { g(s)["inputs"][0]["identifier"] = "two words"; }, "identifier must be a letter"},
        {[&](Json& s) {
             g(s)["inputs"].push_back({{"identifier", "$seed"}, {"type", "int"}});
         },
         "unknown system input"},
        {[&](Json& s) {
             g(s)["inputs"].push_back({{"identifier", "$outputsize"}, {"type", "int"}});
         },
         "$outputsize must be int2"},
        {[&](Json& s) { g(s)["inputs"][0]["gui"]["description"] = std::string(1100, 'x'); },
         "input 'amount': its gui description takes"},
        {[&](Json& s) { g(s)["presets"][0]["values"]["amont"] = 1; },
         "preset 'Dense': unknown input 'amont'"},
        {[&](Json& s) { g(s)["presets"][0]["values"]["count"] = 3; }, "value of 'count' has 1 components"},
        {[&](Json& s) { g(s)["presets"][0]["values"]["amount"] = 7; }, "above the maximum"},
        {[&](Json& s) { g(s)["presets"].push_back(g(s)["presets"][0]); }, "duplicate preset label"},
        {[&](Json& s) { s["graphs"].push_back(g(s)); }, "duplicate graph url"},
        {[&](Json& s) { s["graphs"] = Json::array(); }, "tiles.json: no graphs"},
    };
    for (const Case& c : cases) {
        std::string message = errorOf(c.edit);
        EXPECT_NE(message.find(c.message), std::string::npos)
            << "expected: " << c.message << "\n     got: " << message;
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
}

TEST(CompilerErrors, GuiTextJustUnderTheLimitIsAccepted) {
    Json source = baseSource();
    InputSource probe;
    probe.identifier = "amount";
    probe.hasGui = true;
    probe.gui.widget = "slider";
    probe.gui.label = "Amount";
    probe.gui.hasMin = probe.gui.hasMax = probe.gui.hasStep = true;
    probe.gui.min = {0};
    probe.gui.max = {1};
    probe.gui.step = {0.01};
    probe.gui.clamp = true;
    probe.gui.description = "x";
    size_t base = compactText(*inputGuiElement(probe)).size();
    size_t fits = kMaxInputGuiBytes - 1 - base + 1; // text plus terminating zero fills the buffer
    source["graphs"][0]["inputs"][0]["gui"]["description"] = std::string(fits, 'x');
    EXPECT_NO_THROW(compile(source));
    source["graphs"][0]["inputs"][0]["gui"]["description"] = std::string(fits + 1, 'x');
    EXPECT_THROW(compile(source), CompileError);
}

} // namespace
} // namespace kvcompiler
