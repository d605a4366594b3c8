// createSubstance over two package descriptions: the host's model of a
// stacked material, mirroring every numerical input of its graphs.
#include "bridge/SubstanceBridge.h"
#include "bridge/internal/InputGui.h"
#include "framework/render/GraphInstance.h"
#include "framework/render/PackageStackDesc.h"
#include "framework/render/internal/KeptPackages.h"
#include "material/Substance.h"

#include <algorithm>
#include <cstring>

namespace kvSubstance {

namespace {

// The host type of a framework input type; 0 for types with no host input (images).
int hostType(unsigned int inputType) {
    switch (inputType) {
    case SubstanceAir::Float:
        return TypeFloat1;
    case SubstanceAir::Float2:
        return TypeFloat2;
    case SubstanceAir::Float3:
        return TypeFloat3;
    case SubstanceAir::Float4:
        return TypeFloat4;
    case SubstanceAir::Integer:
        return TypeInt1;
    case SubstanceAir::Integer2:
        return TypeInt2;
    case SubstanceAir::Integer3:
        return TypeInt3;
    case SubstanceAir::Integer4:
        return TypeInt4;
    default:
        return 0;
    }
}

void addInput(Substance& substance, const SubstanceAir::InputInstanceBase& instance) {
    const SubstanceAir::InputDescBase& desc = instance.getDesc();
    SubstanceInput::IntOrFloat value{};
    SubstanceInput* input = nullptr;
    if (const int type = hostType(desc.type)) {
        input = substance.newInput(desc.uid, kvString::CString(desc.identifier), static_cast<Type>(type));
        // Both views are four 32-bit slots; the instance holds as many as the type has components.
        std::memcpy(&value, instance.getRawData(), std::min(instance.getRawSize(), sizeof(value)));
        input->setDefault(value, true);
    }
    internal::applyInputGui(desc.guiXml, input);
}

// Fills `substance` from its graph instances: one host input per numerical
// input, then the URL and label of the last graph.
void mirrorGraphs(Substance& substance) {
    const std::vector<boost::shared_ptr<SubstanceAir::GraphInstance>> graphs = substance.getGraphInstances();
    for (const boost::shared_ptr<SubstanceAir::GraphInstance>& graph : graphs) {
        for (const std::unique_ptr<SubstanceAir::InputInstanceBase>& input : graph->getInputs()) {
            addInput(substance, *input);
        }
        substance.setPackageURL(kvString::CString(graph->getDesc().packageUrl));
        substance.setLabel(kvString::IString(graph->getDesc().label.c_str(), kvString::Multibyte));
    }
}

const SubstanceAir::GraphDesc* firstGraph(const SubstanceAir::PackageDesc* package) {
    return package == nullptr || package->graphs().empty() ? nullptr : &package->graphs().front();
}

} // namespace

kv::Reference<Substance> createSubstance(SubstanceAir::PackageDesc* first,
                                         SubstanceAir::PackageDesc* second) {
    kv::Reference<Substance> substance(new Substance);
    // A package without graphs (or none at all) gives an empty stack, and so a material without graphs.
    SubstanceAir::PackageStackDesc* stack = static_cast<SubstanceAir::PackageStackDesc*>(
        SubstanceAir::keepUntilExit(std::unique_ptr<SubstanceAir::PackageDesc>(
            new SubstanceAir::PackageStackDesc(firstGraph(first), firstGraph(second)))));
    SubstanceAir::instantiateGraphs(substance->getGraphInstances(), *stack);
    mirrorGraphs(*substance);
    substance->setPackageDesc(stack, first, second);
    return substance;
}

kv::Reference<Substance> createSubstance(SubstanceAir::PackageDesc* package) {
    kv::Reference<Substance> substance(new Substance);
    if (const SubstanceAir::GraphDesc* graph = firstGraph(package)) {
        substance->getGraphInstances().push_back(
            boost::shared_ptr<SubstanceAir::GraphInstance>(new SubstanceAir::GraphInstance(*graph)));
    }
    mirrorGraphs(*substance);
    substance->setPackageDesc(nullptr, package, nullptr);
    return substance;
}

} // namespace kvSubstance
