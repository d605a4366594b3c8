// kvs info on material description XML, through the installed command line.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::string kSample = KV_SOURCE_DIR "/samples/descriptions/painted_plaster.xml";

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

std::string slurp(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string scratch(const std::string& name) {
    return std::string(KV_BINARY_DIR) + "/kvs_info_" + std::to_string(::getpid()) + "_" + name;
}

Outcome kvs(const std::string& arguments) {
    const std::string out = scratch("out"), err = scratch("err");
    const std::string command =
        "'" + std::string(KVS_PATH) + "' info " + arguments + " >'" + out + "' 2>'" + err + "'";
    const int raw = std::system(command.c_str());
    Outcome run{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(out), slurp(err)};
    std::remove(out.c_str());
    std::remove(err.c_str());
    return run;
}

std::string writeScratch(const std::string& name, const std::string& content) {
    const std::string path = scratch(name);
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

TEST(KvsInfo, PrintsTheMaterialAsText) {
    const Outcome run = kvs(kSample);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.err.empty());
    EXPECT_NE(run.out.find("label \"Painted Plaster\""), std::string::npos);
    EXPECT_NE(run.out.find("package pkg://painted_plaster"), std::string::npos);
    EXPECT_NE(run.out.find("inputs 13"), std::string::npos);
    EXPECT_NE(run.out.find("3010112003 paint_color float3 widget color label \"Paint Color\" default "
                           "0.72,0.66,0.58 min 0,0,0 max 1,1,1 step 0.01,0.01,0.01 clamp"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("1402116564 height format 28 size 512x512 mipmaps 0 dynamic"), std::string::npos);
    EXPECT_NE(run.out.find("    3010112001d i2 9 9\n"), std::string::npos);
}

TEST(KvsInfo, JsonCarriesTheSameMaterial) {
    const Outcome run = kvs("--json " + kSample);
    ASSERT_EQ(run.status, 0) << run.err;
    const nlohmann::json doc = nlohmann::json::parse(run.out);
    EXPECT_EQ(doc["packageUrl"], "pkg://painted_plaster");
    ASSERT_EQ(doc["inputs"].size(), 13u);
    ASSERT_EQ(doc["outputs"].size(), 5u);
    const nlohmann::json& size = doc["inputs"][0];
    EXPECT_EQ(size["identifier"], "$outputsize");
    EXPECT_EQ(size["type"], "int2");
    EXPECT_EQ(size["default"], nlohmann::json::array({9, 9}));
    EXPECT_EQ(size["clamp"], true);
    const nlohmann::json& stencil = doc["inputs"][12];
    EXPECT_EQ(stencil["widget"], "image");
    EXPECT_FALSE(stencil.contains("default"));
    EXPECT_EQ(doc["outputs"][4]["dynamicSize"], false);
    EXPECT_EQ(doc["state"].get<std::string>().rfind("pkg://painted_plaster\n", 0), 0u);
}

// Labels cannot reach the terminal as escape sequences or forge lines.
TEST(KvsInfo, TextFromTheDescriptionIsEscaped) {
    std::string hostile = slurp(kSample);
    const std::string label = "\"Painted Plaster\"";
    ASSERT_NE(hostile.find(label), std::string::npos);
    hostile.replace(hostile.find(label), label.size(), "\"Painted\x1b[2J&#10;inputs 99\x85\"");
    const std::string path = writeScratch("hostile.xml", hostile);
    const Outcome run = kvs(path);
    std::remove(path.c_str());
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("label \"Painted\\x1b[2J\\x0ainputs 99"), std::string::npos) << run.out;
    EXPECT_EQ(run.out.find('\x1b'), std::string::npos);
    EXPECT_EQ(run.out.find('\x85'), std::string::npos);
    EXPECT_EQ(run.out.find("\ninputs 99"), std::string::npos);
}

TEST(KvsInfo, ErrorsAreOneLineAndNonZero) {
    const std::string deep = writeScratch("deep.xml", std::string(200000, '<'));
    const std::string partial = writeScratch("partial.xml", slurp(kSample).substr(0, 900));
    const std::string nul =
        writeScratch("nul.xml", std::string("<sbsdescription", 15) + '\0' + slurp(kSample));
    for (const std::string& arguments : {std::string("/nonexistent/file.xml"), deep, partial, nul}) {
        const Outcome run = kvs(arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_TRUE(run.out.empty()) << arguments;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(run.err.rfind("kvs info: ", 0), 0u) << run.err;
    }
    for (const std::string& path : {deep, partial, nul})
        std::remove(path.c_str());
    EXPECT_EQ(kvs("").status, 2);
    EXPECT_EQ(kvs("--yaml " + kSample).status, 2);
}

} // namespace
