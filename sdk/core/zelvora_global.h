// (c) the ztrace developers. Licence: see LICENSE.
//
// Export marks of the stand-in host libraries.
#ifndef ZELVORA_GLOBAL_H
#define ZELVORA_GLOBAL_H

#include <QtGlobal>

// The libraries export everything that they declare, so one mark serves all three.
#define ZELVORA_EXPORT Q_DECL_EXPORT

#endif
