// A host program built against the installed library: reads a material
// description and prints one of its values.
#include <material/Substance.h>

#include <cstdio>
#include <fstream>
#include <sstream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: host <description.xml>\n");
        return 2;
    }
    std::ifstream file(argv[1]);
    std::stringstream text;
    text << file.rdbuf();
    kv::Reference<kvSubstance::Substance> material =
        kvSubstance::SubstanceReader::getInstance().readFromXMLData(text.str().c_str());
    if (!material) {
        std::fprintf(stderr, "host: cannot read %s\n", argv[1]);
        return 1;
    }
    kvSubstance::SubstanceInput* wear = material->getInput(kvString::CString("paint_wear"));
    if (!wear) {
        std::fprintf(stderr, "host: no paint_wear input\n");
        return 1;
    }
    std::printf("%s paint_wear=%.2f\n", material->getPackageURL().asChar(), wear->getValueF(0));
    return 0;
}
