// (c) the ztrace developers. Licence: see LICENSE.
//
// Where the tracers of scripts live.
//
// destroy() strips the script object that it is called on; other objects may still hold the same
// pointer: one that inherits from a tracer object, or a second variant that the toolkit made. Such
// a pointer must never lead to freed memory, so tracers are made in places that are kept for ever.
// A place whose pointer another object is known to hold stays empty and is reported as dead. The
// others are used again: the rare pointer that is stale nevertheless leads to the live tracer that
// was made there later.
#ifndef ZTRACE_TRACERPOOL_H
#define ZTRACE_TRACERPOOL_H

class ZTraceBitmap;

namespace ztrace {

// A new tracer in a place of the pool; the place that has been empty longest is used first.
ZTraceBitmap *makeTracer();

// Destroys a tracer through its virtual destructor. With `mayBeHeldElsewhere` its few bytes are
// kept and remembered as dead. Otherwise its place is free for the next one; a tracer that the host
// made itself has no place here and is deleted.
void destroyTracer(ZTraceBitmap *tracer, bool mayBeHeldElsewhere);

// True for the address of a tracer that was destroyed and has no successor.
bool isDead(const ZTraceBitmap *tracer);

} // namespace ztrace

#endif
