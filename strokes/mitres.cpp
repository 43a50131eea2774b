// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/mitres.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kAlongBisector = 0.9; // cosine: of a stub of 3 px a pixel to the side is .95
const double kSlack = 1.0;         // pixels that a tip may reach beyond its mitre: blur and steps

// The end of a line at a joint; -1: it does not end there alone.
int endAt(const Atom &atom, int joint)
{
    if (atom.shape != Shape::Line || atom.dashing.type != DashType::None
        || (atom.joint[0] == joint) == (atom.joint[1] == joint))
        return -1;
    return atom.joint[0] == joint ? 0 : 1;
}

bool endsFreely(const Web &web, const Atom &atom, int end)
{
    if (atom.joint[end] < 0)
        return true;
    const Meeting &meeting = web.meetings[std::size_t(atom.joint[end])];
    return meeting.ends.size() == 1 && meeting.through.empty();
}

// Whether the stroke that leaves a joint by `end` is the tip of the other two that end there.
bool isMitre(const Web &web, const Atom &atom, int end)
{
    if (atom.joint[end] < 0 || !endsFreely(web, atom, 1 - end))
        return false;
    const Meeting &meeting = web.meetings[std::size_t(atom.joint[end])];
    if (meeting.ends.size() != 3 || !meeting.through.empty())
        return false;
    const Point corner = atom.place[end];
    const Point stub = atom.place[1 - end] - corner;
    Point between = { 0, 0 };
    double width = 0.0;
    int sides = 0;
    for (const AtomEnd &other : meeting.ends) {
        const Atom &side = web.atoms[std::size_t(other.atom)];
        if (&side == &atom)
            continue;
        const int here = endAt(side, atom.joint[end]);
        if (here < 0)
            return false;
        const Point way = side.place[1 - here] - side.place[here];
        between = between + (1.0 / std::max(1e-9, lengthOf(way))) * way;
        width = std::max(width, side.width);
        ++sides;
    }
    // Of two unit vectors at an angle the sum is twice its half's cosine long.
    const double cosine = 0.5 * lengthOf(between);
    const double sine = std::sqrt(std::max(1e-6, 1.0 - cosine * cosine));
    return sides == 2 && cosine > sine
        && -fit::dot(stub, between) > kAlongBisector * lengthOf(stub) * lengthOf(between)
        && lengthOf(stub) < 0.5 * width / sine + kSlack;
}

void drop(int number, Web *web)
{
    Atom &atom = web->atoms[std::size_t(number)];
    for (int joint : atom.joint) {
        if (joint < 0)
            continue;
        std::vector<AtomEnd> &ends = web->meetings[std::size_t(joint)].ends;
        ends.erase(std::remove_if(ends.begin(), ends.end(),
                                  [&](const AtomEnd &end) { return end.atom == number; }),
                   ends.end());
    }
    atom.alive = false;
    atom.samples = std::vector<Section>();
}

} // namespace

void dropMitres(Web *web)
{
    for (std::size_t k = 0; k < web->atoms.size(); ++k) {
        const Atom &atom = web->atoms[k];
        if (atom.alive && atom.shape == Shape::Line && atom.dashing.type == DashType::None
            && (isMitre(*web, atom, 0) || isMitre(*web, atom, 1)))
            drop(int(k), web);
    }
}

} // namespace ztrace::strokes
