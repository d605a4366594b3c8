// What the binding files share: the handles Python holds on a material and
// its inputs, and the conversions between components and Python values.
#pragma once

#include "python/src/PyMaterial.h"

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

namespace kvpy {

// One input of a material, kept alive by the handle.
struct InputHandle {
    std::shared_ptr<Material> material;
    std::string identifier;
    kvSubstance::SubstanceInput& get() const { return material->input(identifier); }
};

// The inputs of a material as a read-only mapping.
struct InputsHandle {
    std::shared_ptr<Material> material;
};

// A number for one component, a tuple for more, None for none.
pybind11::object toPython(const std::vector<double>& components, bool integers);
// A number or a sequence of numbers; a ValueError otherwise.
std::vector<double> fromPython(const pybind11::handle& value);

// Text from the library as a Python str: bytes that are not UTF-8 (a damaged
// description) become U+FFFD instead of failing the call.
pybind11::str text(const std::string& utf8);
pybind11::list texts(const std::vector<std::string>& items);

void bindInputs(pybind11::module_& module);
void bindPngFiles(pybind11::module_& module);

} // namespace kvpy
