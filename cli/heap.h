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

// Whether this process is allowed only so many addresses (ulimit -v, --memory-limit).
bool areAddressesLimited();

// Lets go of the code of libraries, but for those of the languages themselves: what the loader has
// read of them, what ran at the start, readers of images. What is needed after all is mapped again,
// from the system's cache of files. Only what is never written to goes; does nothing on systems
// that it does not know.
//
// For tracing hardly any of it is needed: of a screenshot of 0.8 megapixels 2.3 of 25.1 megabytes
// at the peak are those of the toolkit, for 25 of 1014 page faults; those of other libraries are 4.
void forgetCode();

} // namespace ztrace

#endif
