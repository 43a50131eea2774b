#include "fit/curves.h"
namespace ztrace::fit {
std::vector<Piece> withCurves(const Table &, const std::vector<Piece> &pieces) { return pieces; }
}
