// Substance::getStateString and Substance::applyStateString.
#include "bridge/InputSynchronisation.h"
#include "material/Substance.h"
#include "material/internal/NumberText.h"
#include "platform/base/Split.h"

namespace kvSubstance {

namespace {

kvString::CString valueLine(const SubstanceInput& input) {
    const unsigned int uid = input.getUID();
    const int count = input.getType() & 7;
    kvString::CString line;
    // "%ud": the uid followed by a literal d, which readers skip.
    if (input.getType() & 0x20) {
        const auto v = [&](int k) { return input.getValueI(k); };
        if (count == 2)
            line.format("%ud i2 %d %d\n", uid, v(0), v(1));
        else if (count == 3)
            line.format("%ud i3 %d %d %d\n", uid, v(0), v(1), v(2));
        else if (count == 4)
            line.format("%ud i4 %d %d %d %d\n", uid, v(0), v(1), v(2), v(3));
        else
            line.format("%ud i1 %d\n", uid, v(0));
    } else if (input.getType() & 0x10) {
        const auto v = [&](int k) { return static_cast<double>(input.getValueF(k)); };
        if (count == 2)
            line.format("%ud f2 %f %f\n", uid, v(0), v(1));
        else if (count == 3)
            line.format("%ud f3 %f %f %f\n", uid, v(0), v(1), v(2));
        else if (count == 4)
            line.format("%ud f4 %f %f %f %f\n", uid, v(0), v(1), v(2), v(3));
        else
            line.format("%ud f1 %f\n", uid, v(0));
    }
    return line;
}

// The text of field k, or an empty text when the line is short.
const char* field(const kv::vector<kvString::CString>& fields, std::size_t k) {
    return k < fields.size() ? fields[k].asChar() : "";
}

// Applies one value line to input, choosing the setters by the line's kind
// letter rather than by the input's type.
void applyValueLine(const kv::vector<kvString::CString>& fields, SubstanceInput& input) {
    const char* kind = field(fields, 1);
    if (kind[0] == '\0')
        return;
    const int count = kind[1] - '0';
    if (kind[0] == 'i') {
        const auto v = [&](std::size_t k) { return internal::parseLeadingInt(field(fields, k)); };
        if (count == 2)
            input.setValue2I(v(2), v(3));
        else if (count == 3)
            input.setValue3I(v(2), v(3), v(4));
        else if (count == 4)
            input.setValue4I(v(2), v(3), v(4), v(5));
        else
            input.setValueI(v(2), 0);
    } else if (kind[0] == 'f') {
        const auto v = [&](std::size_t k) { return internal::parseLeadingFloat(field(fields, k)); };
        if (count == 2)
            input.setValue2F(v(2), v(3));
        else if (count == 3)
            input.setValue3F(v(2), v(3), v(4));
        else if (count == 4)
            input.setValue4F(v(2), v(3), v(4), v(5));
        else
            input.setValueF(v(2), 0);
    }
}

} // namespace

kvString::CString Substance::getStateString() {
    kvString::CString state;
    state.format("%s\n", m_packageURL.asChar());
    for (const auto* entry = m_inputs.first(); entry; entry = m_inputs.next(entry))
        state.append(valueLine(*entry->value));
    return state;
}

void Substance::applyStateString(const kvString::CString& state) {
    // The header is the text up to the first line feed, taken before the
    // split: split drops empty pieces, and the header of a material without
    // package URL is empty.
    const std::string& text = state.str();
    const std::size_t headerEnd = text.find('\n');
    if (headerEnd == std::string::npos || text.compare(0, headerEnd, m_packageURL.str()) != 0)
        return;
    const kv::vector<kvString::CString> lines =
        kvUtil::split(kvString::CString(text.substr(headerEnd + 1)), '\n', true, false);
    for (std::size_t n = 0; n < lines.size(); ++n) {
        const kv::vector<kvString::CString> fields = kvUtil::split(lines[n], ' ', true, false);
        const unsigned int uid = internal::parseLeadingUnsigned(field(fields, 0));
        // Held for the line, so a listener that drops the input cannot free it.
        kv::Reference<SubstanceInput> input(dynamic_cast<SubstanceInput*>(getEntity(uid)));
        if (!input)
            continue;
        applyValueLine(fields, *input);
        syncValueFromSubstanceInputToInputInstanceBase(kv::Reference<Substance>(this), input.get());
    }
}

} // namespace kvSubstance
