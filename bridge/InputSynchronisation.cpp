#include "bridge/InputSynchronisation.h"

#include "bridge/internal/InputValue.h"
#include "bridge/internal/InstanceAccess.h"
#include "material/Substance.h"

namespace kvSubstance {

void syncValueFromSubstanceInputToInputInstanceBase(const SubstanceInput* input,
                                                    SubstanceAir::InputInstanceBase* instance) {
    const internal::InputValue value = internal::readInputValue(*input);
    if (value.kind == internal::InputValue::None)
        return;
    internal::assignInputValue(*instance, value);
}

void syncValueFromSubstanceInputToInputInstanceBase(kv::Reference<Substance> substance,
                                                    SubstanceInput* input) {
    const auto& graphs = substance->getGraphInstances();
    if (graphs.empty())
        return;
    if (SubstanceAir::InputInstanceBase* instance =
            internal::findInputInstance(graphs, input->getIdentifier()))
        syncValueFromSubstanceInputToInputInstanceBase(input, instance);
}

void syncValueFromSubstanceInputToInputInstanceBase(kv::Reference<Substance> substance,
                                                    const kvString::CString& indexIdentifier) {
    const kv::vector<kvString::CString> ids = substance->getInputIds();
    for (const kvString::CString& id : ids) {
        SubstanceInput* input = substance->getInput(id);
        if (!input || !input->showInGUI())
            continue;
        const int count = input->getType() & 7;
        for (int k = 0; k < count; ++k) {
            if (input->getIndexIdentifier(k) == indexIdentifier) {
                syncValueFromSubstanceInputToInputInstanceBase(substance, input);
                return;
            }
        }
    }
}

} // namespace kvSubstance
