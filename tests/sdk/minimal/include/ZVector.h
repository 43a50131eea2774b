// (c) the ztrace developers. Licence: see LICENSE.
//
// An SDK with nothing in it that the engine, the script class and the plug-in do not need. They are
// compiled against it in a test, so that they never come to rely on more.
#ifndef ZVECTOR_H
#define ZVECTOR_H

class ZVector
{
public:
    double x, y, z;
    bool valid;
    ZVector() : x(0.0), y(0.0), z(0.0), valid(false) { }
    ZVector(double vx, double vy, double vz, bool isValid) : x(vx), y(vy), z(vz), valid(isValid) { }
};

#endif
