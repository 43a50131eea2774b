// (c) the ztrace developers. Licence: see LICENSE.
//
// The script class "QImage": images that scripts read, draw pixel by pixel, and hand to plug-ins.
//
//   new QImage(fileName)         a file that the toolkit reads; isNull() when it cannot
//   new QImage(width, height)    32 bits a pixel (ARGB32), transparent; isNull() when it cannot be
//   isNull() width() height()
//   pixel(x, y)                  the colour as the number 0xAARRGGBB
//   setPixel(x, y, colour)       an image of fewer colours becomes ARGB32 first
//   copy()                       an image of its own
//   save(fileName)               true when the file was written
//   convertToArgb32()            in place
//   invertTopBits()              in place: every channel v becomes v xor 0x80, as ARGB32
#ifndef ZECMAQIMAGE_H
#define ZECMAQIMAGE_H

class QScriptEngine;

class ZEcmaQImage
{
public:
    static void initEcma(QScriptEngine &engine);
};

#endif
