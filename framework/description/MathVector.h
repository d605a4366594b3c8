// Small value vectors of the numerical input types (two to four float or int
// components). Their text form is the components joined by "," with no spaces.
#pragma once

namespace SubstanceAir {
namespace Math {

template <typename T>
struct Vector2 {
    T x, y;
    bool operator==(const Vector2& o) const { return x == o.x && y == o.y; }
    bool operator!=(const Vector2& o) const { return !(*this == o); }
};

template <typename T>
struct Vector3 {
    T x, y, z;
    bool operator==(const Vector3& o) const { return x == o.x && y == o.y && z == o.z; }
    bool operator!=(const Vector3& o) const { return !(*this == o); }
};

template <typename T>
struct Vector4 {
    T x, y, z, w;
    bool operator==(const Vector4& o) const { return x == o.x && y == o.y && z == o.z && w == o.w; }
    bool operator!=(const Vector4& o) const { return !(*this == o); }
};

} // namespace Math
} // namespace SubstanceAir
