// (c) the ztrace developers. Licence: see LICENSE.
#define ZTRACE_ASSIGN_TILES assignTilesBaseline
#include "assign_tiles.inc"
