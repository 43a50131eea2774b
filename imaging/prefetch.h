// (c) the ztrace developers. Licence: see LICENSE.
//
// Asks for memory that will be read soon, where it does not lie in the order in which it is read.
#ifndef ZTRACE_IMAGING_PREFETCH_H
#define ZTRACE_IMAGING_PREFETCH_H

namespace ztrace {

// Of any address, valid or not: nothing is read but time.
inline void prefetch(const void *address)
{
#ifdef __GNUC__
    __builtin_prefetch(address);
#else
    (void)address;
#endif
}

} // namespace ztrace

#endif
