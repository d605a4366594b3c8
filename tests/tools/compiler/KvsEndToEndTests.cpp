// Runs the kvs tool as a user would: compile a sample, render it alone and
// stacked, and feed it bad input.
#include "engine/package/Package.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

struct ToolRun {
    int status = -1;
    std::string output; // stdout and stderr together
};

ToolRun kvs(const std::string& arguments) {
    ToolRun run;
    // From the build tree, so that a stray default --outdir never lands in the sources.
    std::string command = "cd " + std::string(KV_BINARY_DIR) + " && " + KVS_PATH + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return run;
    std::array<char, 4096> buffer;
    size_t got;
    while ((got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        run.output.append(buffer.data(), got);
    int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

std::string readFile(const fs::path& path) {
    std::string bytes;
    if (FILE* file = std::fopen(path.string().c_str(), "rb")) {
        std::array<char, 65536> buffer;
        size_t got;
        while ((got = std::fread(buffer.data(), 1, buffer.size(), file)) > 0)
            bytes.append(buffer.data(), got);
        std::fclose(file);
    }
    return bytes;
}

struct PngHeader {
    uint32_t width = 0, height = 0;
    int bitDepth = 0, colourType = -1;
};

PngHeader pngHeader(const fs::path& path) {
    std::string bytes = readFile(path);
    PngHeader header;
    if (bytes.size() < 26 || bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0)
        return header;
    auto be32 = [&](size_t at) {
        return (uint32_t(uint8_t(bytes[at])) << 24) | (uint32_t(uint8_t(bytes[at + 1])) << 16) |
               (uint32_t(uint8_t(bytes[at + 2])) << 8) | uint32_t(uint8_t(bytes[at + 3]));
    };
    header.width = be32(16);
    header.height = be32(20);
    header.bitDepth = uint8_t(bytes[24]);
    header.colourType = uint8_t(bytes[25]);
    return header;
}

size_t lineCount(const std::string& text) {
    size_t lines = 0;
    for (char c : text)
        lines += c == '\n';
    return lines;
}

class KvsTool : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::path(KV_BINARY_DIR) / "tests" / "tools" /
              (std::string("e2e_") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
    }

    std::string compileSample(const std::string& name) {
        std::string package = (dir / (name + ".mpk")).string();
        ToolRun run =
            kvs("compile " + std::string(KV_SOURCE_DIR) + "/samples/" + name + ".json -o " + package);
        EXPECT_EQ(run.status, 0) << run.output;
        return package;
    }

    fs::path dir;
};

TEST_F(KvsTool, CompilesAndRendersEveryOutputAtTheRequestedSize) {
    std::string package = compileSample("stone_tiles");
    std::string bytes = readFile(package);
    kvengine::PackageContents contents;
    ASSERT_EQ(kvengine::readPackage(bytes.data(), bytes.size(), contents), 0);

    ToolRun run = kvs("render " + package + " --size 7 --outdir " + (dir / "out").string());
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(lineCount(run.output), 5u) << run.output; // one line per file
    const std::pair<const char*, int> expected[] = {{"Output", 6},
                                                    {"height", 0},
                                                    {"normal", 6},
                                                    {"roughness", 0},
                                                    {"ambient_occlusion", 0}}; // RGBA or gray
    for (const auto& [output, colourType] : expected) {
        PngHeader header = pngHeader(dir / "out" / ("stone_tiles_" + std::string(output) + ".png"));
        EXPECT_EQ(header.width, 128u) << output;
        EXPECT_EQ(header.height, 128u) << output;
        EXPECT_EQ(header.bitDepth, 8) << output;
        EXPECT_EQ(header.colourType, colourType) << output;
    }

    run = kvs("render " + package + " --size 6 --depth 16 --outdir " + (dir / "deep").string());
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(pngHeader(dir / "deep" / "stone_tiles_height.png").bitDepth, 16);
    EXPECT_EQ(pngHeader(dir / "deep" / "stone_tiles_height.png").width, 64u);

    run = kvs("render " + package + " --size 5 --depth float --outdir " + (dir / "float").string());
    ASSERT_EQ(run.status, 0) << run.output;
    std::string pfm = readFile(dir / "float" / "stone_tiles_Output.pfm");
    const std::string header = "PF\n32 32\n-1.0\n";
    ASSERT_EQ(pfm.compare(0, header.size(), header), 0);
    EXPECT_EQ(pfm.size(), header.size() + 32 * 32 * 3 * 4);
    EXPECT_EQ(readFile(dir / "float" / "stone_tiles_height.pfm").compare(0, 3, "Pf\n"), 0);
}

TEST_F(KvsTool, ValuesPresetsAndSeedsChangeTheRenderDeterministically) {
    std::string package = compileSample("stone_tiles");
    auto render = [&](const std::string& options, const std::string& folder) {
        ToolRun run =
            kvs("render " + package + " --size 6 " + options + " --outdir " + (dir / folder).string());
        EXPECT_EQ(run.status, 0) << run.output;
        return readFile(dir / folder / "stone_tiles_Output.png");
    };
    std::string plain = render("", "a");
    EXPECT_EQ(render("", "b"), plain);
    EXPECT_NE(render("--preset \"Polished marble\"", "c"), plain);
    EXPECT_NE(render("--seed 3", "d"), plain);
    EXPECT_NE(render("--set tiles=2,3 --set stone_color=0.9,0.2,0.2", "e"), plain);
    EXPECT_EQ(render("--set tiles=4,4", "f"), plain); // the defaults, set explicitly
}

TEST_F(KvsTool, StacksAnEffectOntoAMaterial) {
    std::string bottom = compileSample("stone_tiles");
    std::string top = compileSample("tint");
    ToolRun run = kvs("render " + bottom + " --stack " + top + " --size 7 --preset Sepia --outdir " +
                      (dir / "s").string());
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(lineCount(run.output), 1u) << run.output; // only the top's Output
    PngHeader header = pngHeader(dir / "s" / "stone_tiles+tint_Output.png");
    EXPECT_EQ(header.width, 128u);
    EXPECT_EQ(header.colourType, 6);
    // With no tint the stack passes the material's colour through unchanged,
    // and the fused $outputsize sizes both graphs.
    run = kvs("render " + bottom + " --stack " + top + " --size 6 --set amount=0 --outdir " +
              (dir / "n").string());
    ASSERT_EQ(run.status, 0) << run.output;
    run = kvs("render " + bottom + " --size 6 --outdir " + (dir / "m").string());
    ASSERT_EQ(run.status, 0) << run.output;
    std::string untinted = readFile(dir / "m" / "stone_tiles_Output.png");
    EXPECT_FALSE(untinted.empty());
    EXPECT_EQ(readFile(dir / "n" / "stone_tiles+tint_Output.png"), untinted);
}

TEST_F(KvsTool, NamesEachFileAfterTheGraphOwningTheOutput) {
    std::string source = (dir / "two.json").string();
    std::ofstream(source) << R"({"graphs": [
        {"url": "pkg://two/first", "outputs": [{"identifier": "Output", "node": "a"}],
         "nodes": [{"id": "a", "kind": "pattern.checker"}]},
        {"url": "pkg://two/second", "outputs": [{"identifier": "Output", "node": "a"}],
         "nodes": [{"id": "a", "kind": "noise.fbm"}]}]})";
    std::string package = (dir / "two.mpk").string();
    ToolRun run = kvs("compile " + source + " -o " + package);
    ASSERT_EQ(run.status, 0) << run.output;
    run = kvs("render " + package + " --size 4 --outdir " + dir.string());
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(pngHeader(dir / "first_Output.png").width, 16u);
    EXPECT_EQ(pngHeader(dir / "second_Output.png").width, 16u);
    EXPECT_NE(readFile(dir / "first_Output.png"), readFile(dir / "second_Output.png"));
}

TEST_F(KvsTool, BadInputGivesOneLineAndAFailingStatus) {
    std::string broken = (dir / "broken.json").string();
    std::ofstream(broken) << R"({"graphs": [{"url": "pkg://x", "nodes": [{"id": "a", "kind": "no.such"}]}]})";
    std::string garbage = (dir / "garbage.mpk").string();
    std::ofstream(garbage) << "PK\x03\x04 this is not a zip at all";
    std::string package = compileSample("tint");
    std::string material = compileSample("stone_tiles");
    // A well-formed container whose description nests far too deep for a recursive parser.
    std::string tintBytes = readFile(package);
    kvengine::PackageContents contents;
    ASSERT_EQ(kvengine::readPackage(tintBytes.data(), tintBytes.size(), contents), 0);
    contents.description = "<sbsdescription>";
    for (int i = 0; i < 200000; ++i)
        contents.description += "<graphs>";
    std::vector<char> nested = kvengine::writePackage(contents);
    std::string deep = (dir / "deep.mpk").string();
    std::ofstream(deep, std::ios::binary).write(nested.data(), static_cast<std::streamsize>(nested.size()));
    const std::pair<std::string, const char*> cases[] = {
        {"compile " + broken + " -o " + (dir / "x.mpk").string(), "kvs compile: "},
        {"compile " + (dir / "missing.json").string(), "kvs compile: "},
        {"render " + garbage, "kvs render: "},
        {"render " + deep, "kvs render: "},
        {"render " + (dir / "missing.mpk").string(), "kvs render: "},
        {"render " + package + " --set nothing=1", "kvs render: no input nothing"},
        {"render " + package + " --set amount=1,2", "kvs render: input amount: "},
        {"render " + package + " --preset Nope", "kvs render: no preset \"Nope\""},
        {"render " + package + " --size 20", "kvs render: --size"},
        {"render " + package + " --depth 12", "kvs render: --depth"},
        {"render " + package + " --stack " + material, "kvs render: the stacked graph"}, // no image input
        {"render " + package + " --outdir " + (dir / "x.mpk").string() + "/sub", "kvs render: "},
    };
    for (const auto& [arguments, prefix] : cases) {
        ToolRun run = kvs(arguments);
        EXPECT_NE(run.status, 0) << arguments;
        EXPECT_EQ(lineCount(run.output), 1u) << arguments << "\n" << run.output;
        EXPECT_EQ(run.output.rfind(prefix, 0), 0u) << arguments << "\n" << run.output;
    }
    EXPECT_FALSE(fs::exists(dir / "x.mpk"));
}

} // namespace
