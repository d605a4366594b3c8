// Input and Inputs: one input's description and value, and the mapping of a
// material's inputs by identifier.
#include "python/src/Bindings.h"
#include "python/src/InputValues.h"

#include <pybind11/stl.h>

namespace py = pybind11;

namespace kvpy {

py::str text(const std::string& utf8) {
    PyObject* decoded = PyUnicode_DecodeUTF8(utf8.data(), static_cast<py::ssize_t>(utf8.size()), "replace");
    if (decoded == nullptr) {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<py::str>(decoded);
}

py::list texts(const std::vector<std::string>& items) {
    py::list list;
    for (const std::string& item : items) {
        list.append(text(item));
    }
    return list;
}

py::object toPython(const std::vector<double>& components, bool integers) {
    const auto one = [&](double v) -> py::object {
        return integers ? py::object(py::int_(static_cast<long long>(v))) : py::object(py::float_(v));
    };
    if (components.empty()) {
        return py::none();
    }
    if (components.size() == 1) {
        return one(components[0]);
    }
    py::tuple tuple(components.size());
    for (size_t k = 0; k < components.size(); ++k) {
        tuple[k] = one(components[k]);
    }
    return std::move(tuple);
}

std::vector<double> fromPython(const py::handle& value) {
    const auto number = [](const py::handle& item) {
        if (!py::isinstance<py::int_>(item) && !py::isinstance<py::float_>(item) &&
            !py::hasattr(item, "__index__") && !py::hasattr(item, "__float__")) {
            throw ValueError("expected a number, not " +
                             std::string(py::str(py::type::handle_of(item).attr("__name__"))));
        }
        if (py::isinstance<py::int_>(item) || py::hasattr(item, "__index__")) {
            // Python integers are unbounded: out-of-range ones become infinities, refused later.
            return py::int_(py::reinterpret_borrow<py::object>(item)).cast<double>();
        }
        return py::float_(py::reinterpret_borrow<py::object>(item)).cast<double>();
    };
    if (py::isinstance<py::str>(value) || py::isinstance<py::bytes>(value)) {
        throw ValueError("expected a number or a sequence of numbers, not text");
    }
    if (py::isinstance<py::sequence>(value)) {
        const py::sequence sequence = py::reinterpret_borrow<py::sequence>(value);
        if (sequence.size() > 4) {
            throw ValueError("an input has at most 4 components, not " + std::to_string(sequence.size()));
        }
        std::vector<double> components;
        for (const py::handle item : sequence) {
            components.push_back(number(item));
        }
        return components;
    }
    return {number(value)};
}

namespace {

py::object slot(const InputHandle& handle, Slot which) {
    const kvSubstance::SubstanceInput& input = handle.get();
    return toPython(componentsOf(input, which), isInteger(input));
}

py::object range(const InputHandle& handle) {
    const kvSubstance::SubstanceInput& input = handle.get();
    if (!input.hasMin() && !input.hasMax()) {
        return py::none();
    }
    return py::make_tuple(slot(handle, Slot::Min), slot(handle, Slot::Max));
}

void setValue(const InputHandle& handle, const py::object& value) {
    std::vector<double> components = fromPython(value);
    const std::lock_guard<std::mutex> guard(handle.material->lock());
    setComponents(*handle.material, handle.get(), std::move(components));
}

InputHandle item(const InputsHandle& inputs, const std::string& identifier) {
    inputs.material->input(identifier); // a KeyError for an unknown one
    return InputHandle{inputs.material, identifier};
}

} // namespace

void bindInputs(py::module_& module) {
    py::class_<InputHandle>(module, "Input", R"doc(One tweakable parameter of a material.

Read its description (type, default, range, step, widget, label,
description, combo items) and read or write its value. Setting ``value``
checks it against the type, clamps it to the range when the input's widget
asks to, and hands it to the renderer; the next render uses it.)doc")
        .def_property_readonly(
            "identifier", [](const InputHandle& h) { return text(h.identifier); },
            "The input's identifier, the key in ``Material.inputs``.")
        .def_property_readonly(
            "type", [](const InputHandle& h) { return typeName(h.get().getType()); },
            "Value type: 'float', 'float2', 'float3', 'float4', 'int', 'int2', 'int3', "
            "'int4' or 'image'.")
        .def_property(
            "value", [](const InputHandle& h) { return slot(h, Slot::Value); }, setValue,
            R"doc(The current value: a number for one component, a tuple for more.

Set a number (every component) or a sequence of as many numbers as the
type has. Integer inputs take whole numbers only; a combo box takes one of
its item values. Raises ValueError, changing nothing, otherwise.)doc")
        .def_property_readonly(
            "default", [](const InputHandle& h) { return slot(h, Slot::Default); },
            "The default value, as ``value`` reads; None when the package gives none.")
        .def_property_readonly(
            "range", range, "(min, max) as ``value`` reads, either None when absent; None without a range.")
        .def_property_readonly(
            "step", [](const InputHandle& h) { return slot(h, Slot::Step); }, "The widget's step, or None.")
        .def_property_readonly(
            "clamp", [](const InputHandle& h) { return h.get().shouldClamp(); },
            "Whether values set are clamped to the range.")
        .def_property_readonly(
            "widget", [](const InputHandle& h) { return widgetName(h.get().getWidget()); },
            "How a GUI shows it: 'slider', 'angle', 'toggle', 'color', 'combobox', 'image' or "
            "'none'.")
        .def_property_readonly(
            "label", [](const InputHandle& h) { return text(h.get().getLabel().utf8()); },
            "The label a GUI shows.")
        .def_property_readonly(
            "description", [](const InputHandle& h) { return text(h.get().getDescription().utf8()); },
            "The longer help text; may be empty.")
        .def_property_readonly(
            "combo_items",
            [](const InputHandle& h) {
                py::dict items;
                for (const auto& entry : comboItems(h.get())) {
                    items[py::int_(entry.first)] = text(entry.second);
                }
                return items;
            },
            "A combo box's items as {value: label}; empty for other widgets.")
        .def(
            "reset",
            [](const InputHandle& h) {
                const std::lock_guard<std::mutex> guard(h.material->lock());
                h.get().reset();
                h.material->sync(h.get());
            },
            "Sets the value back to the default.")
        .def("__repr__", [](const InputHandle& h) {
            return text("<kvsubstance.Input " + h.identifier + " " + typeName(h.get().getType()) + " = " +
                        std::string(py::repr(slot(h, Slot::Value))) + ">");
        });

    py::class_<InputsHandle>(module, "Inputs", R"doc(A material's inputs by identifier: a read-only mapping
of identifier to ``Input``, in the library's order (by UID).)doc")
        .def("__getitem__", item, "The input of this identifier; KeyError when there is none.")
        .def("__len__", [](const InputsHandle& h) { return h.material->inputIds().size(); })
        .def("__iter__", [](const InputsHandle& h) { return py::iter(texts(h.material->inputIds())); })
        .def("__contains__",
             [](const InputsHandle& h, const py::object& key) {
                 return py::isinstance<py::str>(key) &&
                        h.material->model().getInput(kvString::CString(key.cast<std::string>().c_str())) !=
                            nullptr;
             })
        .def(
            "keys", [](const InputsHandle& h) { return texts(h.material->inputIds()); },
            "The identifiers, in the mapping's order.")
        .def(
            "values",
            [](const InputsHandle& h) {
                std::vector<InputHandle> inputs;
                for (const std::string& id : h.material->inputIds()) {
                    inputs.push_back(InputHandle{h.material, id});
                }
                return inputs;
            },
            "The inputs, in order.")
        .def(
            "items",
            [](const InputsHandle& h) {
                py::list inputs;
                for (const std::string& id : h.material->inputIds()) {
                    inputs.append(py::make_tuple(text(id), InputHandle{h.material, id}));
                }
                return inputs;
            },
            "(identifier, input) pairs, in order.")
        .def(
            "get",
            [](const InputsHandle& h, const std::string& id, const py::object& fallback) -> py::object {
                if (h.material->model().getInput(kvString::CString(id.c_str())) == nullptr) {
                    return fallback;
                }
                return py::cast(InputHandle{h.material, id});
            },
            py::arg("identifier"), py::arg("default") = py::none(),
            "The input, or ``default`` when there is none.");
    py::module_::import("collections.abc").attr("Mapping").attr("register")(module.attr("Inputs"));
}

} // namespace kvpy
