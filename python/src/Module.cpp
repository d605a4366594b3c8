// kvsubstance._core, the compiled half of the Python package kvsubstance
// (python/kvsubstance/__init__.py re-exports it): open, Material, its errors.
// Inputs are bound in InputBindings.cpp.
#include "python/src/Bindings.h"
#include "python/src/InputValues.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cmath>

namespace py = pybind11;

namespace kvpy {

namespace {

// No package of ours comes near this; a bigger file is refused unread.
constexpr long long kMaxPackageBytes = 256LL << 20;

// Bytes from bytes-like objects, or the whole file named by a path.
std::vector<char> packageBytes(const py::object& source) {
    if (py::isinstance<py::bytes>(source) || py::isinstance<py::bytearray>(source) ||
        py::isinstance<py::memoryview>(source)) {
        const std::string bytes = py::bytes(py::module_::import("builtins").attr("bytes")(source));
        return std::vector<char>(bytes.begin(), bytes.end());
    }
    const py::object os = py::module_::import("os");
    const py::object path = os.attr("fspath")(source); // a TypeError for anything else
    if (py::int_(os.attr("stat")(path).attr("st_size")).cast<long long>() > kMaxPackageBytes) {
        throw PackageError(std::string(py::str(path)) + " is larger than 256 MiB");
    }
    const py::object file = py::module_::import("io").attr("open")(path, "rb");
    const std::string bytes = py::bytes(file.attr("read")());
    file.attr("close")();
    return std::vector<char>(bytes.begin(), bytes.end());
}

py::array newArray(const PixelShape& shape) {
    const std::vector<py::ssize_t> dims = {shape.height, shape.width, shape.channels};
    switch (shape.element) {
    case PixelShape::Element::UInt16:
        return py::array_t<std::uint16_t>(dims);
    case PixelShape::Element::Float32:
        return py::array_t<float>(dims);
    default:
        return py::array_t<std::uint8_t>(dims);
    }
}

std::shared_ptr<Material> open(const py::object& package, const py::object& stack) {
    const std::vector<char> bottom = packageBytes(package);
    const std::vector<char> top = stack.is_none() ? std::vector<char>() : packageBytes(stack);
    if (!stack.is_none() && top.empty()) {
        throw PackageError("stack: the package is empty");
    }
    // Loading keeps the GIL: it takes a millisecond, and the library's package
    // registry is not promised to other threads while it loads.
    return std::make_shared<Material>(bottom, top);
}

py::dict render(Material& material, const py::object& outputs) {
    std::vector<std::string> names;
    if (py::isinstance<py::str>(outputs)) {
        names.push_back(outputs.cast<std::string>());
    } else if (!outputs.is_none()) {
        names = outputs.cast<std::vector<std::string>>();
    }
    RenderResults rendered;
    {
        py::gil_scoped_release release;
        const std::lock_guard<std::mutex> guard(material.lock());
        rendered = material.render(names);
    }
    // Arrays are made with the GIL, then filled without it: straight from the engine's buffers.
    std::vector<std::pair<py::array, const SubstanceTexture*>> fills;
    py::dict arrays;
    for (const auto& entry : rendered) {
        const SubstanceTexture& texture = entry.second->getTexture();
        py::array array = newArray(shapeOf(texture));
        fills.emplace_back(array, &texture);
        arrays[text(entry.first)] = array;
    }
    std::vector<void*> destinations;
    for (auto& fill : fills) {
        destinations.push_back(fill.first.mutable_data());
    }
    {
        py::gil_scoped_release release;
        for (size_t k = 0; k < fills.size(); ++k) {
            copyPixels(*fills[k].second, destinations[k]);
        }
    }
    return arrays;
}

py::object texture(Material& material) {
    Texture texture;
    {
        py::gil_scoped_release release;
        const std::lock_guard<std::mutex> guard(material.lock());
        texture = material.texture();
    }
    if (texture.bytes == nullptr) {
        return py::none();
    }
    // The library's image itself, kept alive by the array: a copy into fresh
    // memory cost a page fault per page, more than the rest of a first
    // texture's Python side. Read-only, because the material hands the same
    // image out again while nothing changes.
    using Image = kv::TempReference<ilSIDImage>;
    auto* owner = new Image(std::move(texture.image));
    const py::capsule base(owner, [](void* image) { delete static_cast<Image*>(image); });
    const py::ssize_t width = texture.shape.width, height = texture.shape.height;
    py::array array(py::dtype::of<std::uint8_t>(), {height, width, py::ssize_t{4}},
                    {width * 4, py::ssize_t{4}, py::ssize_t{1}}, texture.bytes, base);
    array.attr("setflags")(py::arg("write") = false);
    return std::move(array);
}

void setSystemInput(Material& material, const char* identifier, std::vector<double> components) {
    const std::lock_guard<std::mutex> guard(material.lock());
    setComponents(material, material.input(identifier), std::move(components));
}

void setSize(Material& material, const py::object& size) {
    std::vector<double> sides = fromPython(size);
    if (sides.size() == 1) {
        sides.push_back(sides[0]);
    }
    if (sides.size() != 2) {
        throw ValueError("size takes a side or (width, height)");
    }
    std::vector<double> logs;
    for (const double side : sides) {
        const int log = static_cast<int>(std::lround(std::log2(side > 0 ? side : 1)));
        if (!(side >= 1 && side <= 8192) || std::ldexp(1.0, log) != side) {
            throw ValueError("size takes powers of two from 1 to 8192, not " + std::to_string(side));
        }
        logs.push_back(log);
    }
    setSystemInput(material, "$outputsize", logs);
}

py::tuple getSize(const Material& material) {
    const kvSubstance::SubstanceInput& input = material.input("$outputsize");
    return py::make_tuple(1 << input.getValueI(0), 1 << input.getValueI(1));
}

void registerErrors(py::module_& module) {
    static py::exception<PackageError> packageError(module, "PackageError");
    packageError.doc() =
        "A package the library cannot make a material of; the message carries the library's reason.";
    py::register_exception_translator([](std::exception_ptr raised) {
        try {
            if (raised) {
                std::rethrow_exception(raised);
            }
        } catch (const ValueError& e) {
            PyErr_SetObject(PyExc_ValueError, text(e.what()).ptr());
        } catch (const KeyError& e) {
            PyErr_SetObject(PyExc_KeyError, text(e.what()).ptr());
        } catch (const PackageError& e) {
            PyErr_SetObject(packageError.ptr(), text(e.what()).ptr());
        }
    });
}

const char* const kModuleDoc =
    "The compiled half of kvsubstance: import kvsubstance, which re-exports it and documents it.";

} // namespace

} // namespace kvpy

PYBIND11_MODULE(_core, module) {
    using namespace kvpy;
    module.doc() = kModuleDoc;
    registerErrors(module);
    bindInputs(module);
    bindPngFiles(module);

    py::class_<Material, std::shared_ptr<Material>>(module, "Material", R"doc(A material: one package's first
graph, or the first graphs of two packages stacked. Made by ``open``.)doc")
        .def_property_readonly(
            "url", [](const Material& m) { return text(m.model().getPackageURL().str()); },
            "The package URL of the material's graph; the first line of its state.")
        .def_property_readonly(
            "label", [](const Material& m) { return text(m.model().getLabel().utf8()); },
            "The graph's label.")
        .def_property_readonly(
            "inputs", [](const std::shared_ptr<Material>& m) { return InputsHandle{m}; },
            "The inputs as a mapping of identifier to ``Input``.")
        .def_property_readonly(
            "outputs", [](const Material& m) { return texts(m.outputIds()); },
            "The output identifiers, in order.")
        .def_property_readonly(
            "presets", [](const Material& m) { return texts(m.presetLabels()); },
            "The preset labels, in order.")
        .def(
            "apply_preset",
            [](Material& m, const std::string& label) {
                const std::lock_guard<std::mutex> guard(m.lock());
                m.applyPreset(label);
            },
            py::arg("label"), "Applies the preset of this label; KeyError when there is none.")
        .def_property(
            "seed", [](const Material& m) { return m.input("$randomseed").getValueI(0); },
            [](Material& m, const py::object& seed) { setSystemInput(m, "$randomseed", fromPython(seed)); },
            "The random seed (the input ``$randomseed``).")
        .def_property(
            "size", getSize, setSize,
            "The outputs' size in pixels as (width, height) (the input ``$outputsize``, which holds "
            "their log2). Set a side or (width, height): powers of two from 1 to 8192.")
        .def_property(
            "state", [](const Material& m) { return text(m.state()); },
            [](Material& m, const std::string& text) {
                const std::lock_guard<std::mutex> guard(m.lock());
                m.applyState(text);
            },
            "Every input's value as the library's state string. Set a state string of the same package "
            "to restore them; ValueError for the state of another package.")
        .def("render", render, py::arg("outputs") = py::none(),
             R"doc(Renders outputs and returns them as arrays.

``outputs``: an identifier or a list of them; None for every output.
Returns {identifier: array} with shape (height, width, channels): uint8 for
8-bit formats, uint16 for 16-bit ones, float32 for float and half-float
ones. Only what changed since the last render is recomputed. The GIL is
released while the engine works.)doc")
        .def("texture", texture, R"doc(The material's texture as the library's texture call gives it:
the output "Output" as a uint8 array (height, width, 4), rendered if
anything changed; None when the material has no such output. The array is
a read-only view of the library's image, which the material hands out
again while nothing changes; copy it to edit it.)doc")
        .def("__repr__", [](const Material& m) {
            return text("<kvsubstance.Material " + m.model().getPackageURL().str() + ">");
        });

    module.def("open", open, py::arg("package"), py::arg("stack") = py::none(), R"doc(Opens a material.

``package``: a path (str or os.PathLike) or the package's bytes.
``stack``: optionally a second package, whose first graph is stacked on
top of the first one's (its image inputs fed by the outputs below).
Raises PackageError with the library's reason when a package cannot be
read, OSError when a file cannot be opened.)doc");
}
