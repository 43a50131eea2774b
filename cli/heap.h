// (c) the ztrace developers. Licence: see LICENSE.
//
// How this process takes memory from the system.
#ifndef ZTRACE_CLI_HEAP_H
#define ZTRACE_CLI_HEAP_H

namespace ztrace {

// For a process that traces a picture and ends: what a stage gives back is kept for the next one,
// and the system hands out memory in pages of 2 MB, where it has them. To be called once, before
// there are threads. Takes no memory, only addresses; does nothing where addresses are limited, and
// on systems that it does not know.
void keepHeap();

} // namespace ztrace

#endif
