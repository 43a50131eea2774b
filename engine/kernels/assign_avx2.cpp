// (c) the ztrace developers. Licence: see LICENSE.
#define ZTRACE_ASSIGN_TILES assignTilesAvx2
#include "assign_tiles.inc"
