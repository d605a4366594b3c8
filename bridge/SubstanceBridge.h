// The exported functions that bring a material to life from package files
// and render it. Together with material/Substance.h this is the whole host
// interface:
//
//   kv::vector<char> base, effect;
//   kvSubstance::readSubstanceContent(kvString::IString("stone.mpk", kvString::Multibyte), base);
//   kvSubstance::readSubstanceContent(kvString::IString("tint.mpk", kvString::Multibyte), effect);
//   kv::Reference<kvSubstance::Substance> m = kvSubstance::createSubstance(base, effect);
//   m->getInput("wear")->setValueF(0.8f, 0);
//   kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(m, m->getInput("wear"));
//   kv::TempReference<ilSIDImage> texture = kvSubstance::getTextureFromSubstance(m.get());
//
// Rendering happens on a worker thread but each call is synchronous; calls
// from several host threads are served one at a time.
// What one render may cost is set with SubstanceAir::setRenderBudget
// (framework/render/RenderBudget.h); a render past it gives no texture.
#pragma once

#include "bridge/InputSynchronisation.h"
#include "platform/base/IString.h"
#include "platform/base/Reference.h"
#include "platform/base/Vector.h"
#include "platform/image/Image.h"

namespace SubstanceAir {
class PackageDesc;
struct Preset;
} // namespace SubstanceAir

namespace kvSubstance {

class Substance;
class SubstanceInput;

// Reads a whole file, byte for byte, into content. A file that cannot be
// opened leaves content as it was.
void readSubstanceContent(const kvString::IString& path, kv::vector<char>& content);
// The same through a file stream; content always starts empty, and stays
// empty when the file cannot be opened.
void readSubstanceContentAsChar(const kvString::IString& path, kv::vector<char>& content);

// The material of two package files' bytes: the first graph of `first`
// with the first graph of `second` stacked on top of it (outputs of the
// first feed matching image inputs of the second; see
// framework/render/PackageStackDesc.h). Its inputs are every numerical input
// of the stacked graph, with defaults, ranges, widgets and combo items from
// the packages. Packages that cannot be read give a material with no graph
// instances and no inputs, which renders nothing. The package descriptions
// are kept by the library until the process ends.
kv::Reference<Substance> createSubstance(const kv::vector<char>& first, const kv::vector<char>& second);

// The same from package descriptions loaded by the host, which must outlive
// the material; the stack built over them is kept by the library.
kv::Reference<Substance> createSubstance(SubstanceAir::PackageDesc* first, SubstanceAir::PackageDesc* second);

// The material of one package's first graph, without a stack: the same as
// above with nothing on top. Kept by the library like the two-package form.
kv::Reference<Substance> createSubstance(const kv::vector<char>& package);
kv::Reference<Substance> createSubstance(SubstanceAir::PackageDesc* package);

// Sets `input` from text of the description's form ("0.5", "1,0,0", "6,6";
// one number sets every component) and hands the value to the renderer.
// False, changing nothing, when the text is not numbers of the input's kind
// and count.
bool setInputValueFromText(kv::Reference<Substance> substance, SubstanceInput* input, const char* text);

// Applies a preset of the material's graph (the graph instances' presets)
// value by value through setInputValueFromText. Values naming an input the
// material lacks, or text that does not parse, are passed over; false when
// any was.
bool applyPreset(kv::Reference<Substance> substance, const SubstanceAir::Preset& preset);

// Renders what changed since the last call and returns the material's
// texture: the output "Output" as 8-bit RGBA, in the engine's byte order.
// When nothing new was rendered (no change, or a format other than 8-bit
// RGBA) it returns the last texture, which is null before the first. Null
// for a material without graphs. Input edits reach the renderer only
// through syncValueFromSubstanceInputToInputInstanceBase (or
// applyStateString).
kv::TempReference<ilSIDImage> getTextureFromSubstance(Substance* substance);

} // namespace kvSubstance
