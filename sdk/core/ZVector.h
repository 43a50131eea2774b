// (c) the ztrace developers. Licence: see LICENSE.
//
// A point or a displacement in drawing coordinates.
#ifndef ZVECTOR_H
#define ZVECTOR_H

#include <QtGlobal>

#include <cmath>

// Three coordinates in drawing units and a flag that tells whether they mean anything. All four
// are public: the class is the plain record that the host's geometry passes around.
class ZVector
{
public:
    double x;
    double y;
    double z;
    bool valid;

    // The origin, not valid.
    ZVector() : x(0.0), y(0.0), z(0.0), valid(false) { }

    // The point (vx, vy, vz), taken as it is: nothing is checked.
    ZVector(double vx, double vy, double vz = 0.0, bool isValid = true)
        : x(vx), y(vy), z(vz), valid(isValid)
    { }

    // Distance to `other` in space; both points are taken as valid.
    double getDistanceTo(const ZVector &other) const
    {
        const double dx = other.x - x;
        const double dy = other.y - y;
        const double dz = other.z - z;
        return std::sqrt(dx * dx + dy * dy + dz * dz);
    }

    // Exact comparison of the coordinates and of the flag.
    bool operator==(const ZVector &o) const
    {
        return x == o.x && y == o.y && z == o.z && valid == o.valid;
    }
    bool operator!=(const ZVector &o) const { return !(*this == o); }
};

// Containers may move points as plain bytes.
Q_DECLARE_TYPEINFO(ZVector, Q_MOVABLE_TYPE);

#endif
