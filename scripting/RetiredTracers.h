// (c) the ztrace developers. Licence: see LICENSE.
//
// Tracers that were destroyed while another script object may still hold them.
//
// destroy() strips the object that it is called on. Called on an object that only leads to a tracer
// (one that inherits from a tracer object, or stands in for one), it leaves the tracer object
// itself with its pointer. Such a pointer must be known as dead for ever, and a later tracer must
// not come to lie at the same address: the tracer's members are released, its own few bytes are
// kept.
#ifndef ZTRACE_RETIREDTRACERS_H
#define ZTRACE_RETIREDTRACERS_H

class ZTraceBitmap;

namespace ztrace {

// Destroys `tracer` through its virtual destructor and remembers its address.
void retire(ZTraceBitmap *tracer);

// True for an address that was retired.
bool isRetired(const ZTraceBitmap *tracer);

} // namespace ztrace

#endif
