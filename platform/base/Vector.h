// kv::vector<T>: the base library's growable array.
#pragma once

#include <vector>

namespace kv {

template <class T>
using vector = std::vector<T>;

} // namespace kv
