// (c) the ztrace developers. Licence: see LICENSE.
//
// The script class "ZDrawing": what a script draws into and saves.
//
//   new ZDrawing()             traceImage() gives such drawings, too
//   addObject(polyline, { layer: "CUT", color: "#ff0000" })
//                              or an array of polylines; they are copied. Without the names they
//                              are black and on layer "0"
//   count()                    polylines in the drawing
//   getObject(i)               a copy of the polyline
//   getLayer(i) getColor(i)    its layer; its colour as "#rrggbb"
//   getLayers()                the names of all layers
//   setPage(width, height)     what is drawn of it, from (0, 0), in pixels; without it, as much as
//                              it holds
//   getPage()                  { width, height }; 0 when not set
//   setUnit(unit) getUnit()    "px", "mm" or "in": what a file measures in
//   setResolution(dpi) getResolution()
//                              pixels an inch; 0 when not set, which stands for 96
//   save(fileName, options)    in the format of the ending; options are those of the command that
//                              are about writing ({ dxfVersion: "r12" }); an error names the reason
//                              of a failure
//
// What scripts add is drawn as strokes of one pixel where save() says nothing else.
#ifndef ZECMADRAWING_H
#define ZECMADRAWING_H

class QScriptEngine;

class ZEcmaDrawing
{
public:
    static void initEcma(QScriptEngine &engine);
};

#endif
