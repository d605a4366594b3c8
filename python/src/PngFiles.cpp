// kvsubstance.encode_png: arrays as PNG files with the encoder kvs writes
// with, outside the GIL, so that a batch's files cost less than its renders.
#include "python/src/Bindings.h"
#include "tools/images/ImageWriter.h"
#include "tools/images/PngEncoder.h"

#include <pybind11/numpy.h>

#include <stdexcept>

namespace py = pybind11;

namespace kvpy {

namespace {

py::bytes encodePng(const py::array& array) {
    const bool wide = py::isinstance<py::array_t<std::uint16_t>>(array);
    if (!wide && !py::isinstance<py::array_t<std::uint8_t>>(array)) {
        throw ValueError("PNG holds uint8 and uint16 arrays, not " + std::string(py::str(array.dtype())));
    }
    if (array.ndim() != 2 && array.ndim() != 3) {
        throw ValueError("a PNG array has the shape (height, width) or (height, width, channels)");
    }
    const py::ssize_t channels = array.ndim() == 3 ? array.shape(2) : 1;
    if (channels < 1 || channels > 4 || array.shape(0) < 1 || array.shape(1) < 1 ||
        array.shape(0) > 0x7fffffff || array.shape(1) > 0x7fffffff) {
        throw ValueError("a PNG array has 1 to 4 channels and at least one pixel, not the shape " +
                         std::string(py::str(py::tuple(array.attr("shape")))));
    }
    // Rows in C order with contiguous texels; a strided view is copied once.
    const py::array rows = wide ? py::array(py::array_t<std::uint16_t, py::array::c_style>::ensure(array))
                                : py::array(py::array_t<std::uint8_t, py::array::c_style>::ensure(array));
    kvimage::PngImage image;
    image.height = static_cast<int>(rows.shape(0));
    image.width = static_cast<int>(rows.shape(1));
    image.channels = static_cast<int>(channels);
    image.bitDepth = wide ? 16 : 8;
    image.hostByteOrder = true;
    const auto* first = static_cast<const unsigned char*>(rows.data());
    image.rows.resize(static_cast<size_t>(image.height));
    for (size_t y = 0; y < image.rows.size(); ++y) {
        image.rows[y] = first + y * static_cast<size_t>(rows.strides(0));
    }
    std::vector<unsigned char> file;
    {
        py::gil_scoped_release release;
        file = kvimage::encodePng(image);
    }
    return py::bytes(reinterpret_cast<const char*>(file.data()), file.size());
}

} // namespace

void bindPngFiles(py::module_& module) {
    module.def("encode_png", encodePng, py::arg("array"), R"doc(The bytes of a PNG file holding an array.

``array``: uint8 or uint16 (8 or 16 bits per sample), shaped (height,
width) or (height, width, channels) with 1 (gray), 2 (gray and alpha), 3
(RGB) or 4 (RGBA) channels, as ``Material.render`` returns them. The GIL
is released while the rows are filtered and compressed. ValueError for
another type or shape.)doc");
}

} // namespace kvpy
