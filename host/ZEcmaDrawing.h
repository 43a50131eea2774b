// (c) the ztrace developers. Licence: see LICENSE.
//
// The script class "ZDrawing": what a script draws into and saves.
//
//   new ZDrawing()
//   addObject(polyline)      or an array of polylines; they are copied
//   count()                  polylines in the drawing
//   setPage(width, height)   what is drawn of it, from (0, 0); without it, as much as it holds
//   save(fileName)           in the format of the ending; an error names the reason of a failure
//
// Polylines are strokes of one pixel in black on layer "0".
#ifndef ZECMADRAWING_H
#define ZECMADRAWING_H

class QScriptEngine;

class ZEcmaDrawing
{
public:
    static void initEcma(QScriptEngine &engine);
};

#endif
