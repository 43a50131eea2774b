// (c) the ztrace developers. Licence: see LICENSE.
//
// The toolkit's plug-ins for images: when they are looked for.
#ifndef ZTRACE_CLI_IMAGEPLUGINS_H
#define ZTRACE_CLI_IMAGEPLUGINS_H

namespace ztrace {

// The toolkit opens every plug-in to ask what it reads as soon as it is given any image, also one
// that it reads itself: a third of the time that an icon takes, and four megabytes. Puts that off
// until useImagePlugins(). Until then only what the toolkit reads by itself is read: PNG, BMP, and
// the portable formats. Needs the application object.
void postponeImagePlugins();

// To be called before anything but a PNG is read, or formats are listed. Does nothing where nothing
// was put off.
void useImagePlugins();

// Loads the readers of the formats that pictures of a batch mostly have, so that what they need of
// memory, libraries of their own among it, is there before a limit is set. Those that are not
// installed are left out.
void loadImageReaders();

} // namespace ztrace

#endif
