// (c) the ztrace developers. Licence: see LICENSE.
#include "passedover.h"

#include "cellgrid.h"
#include "crossings.h"
#include "turnedover.h"
#include "workers.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace ztrace {

namespace {

const uint32_t kNoChain = uint32_t(-1);
const double kLongPiece = 16; // pixels
const double kInside = 0.05;  // of a chord: its ends are other chords' as well
// Chains that a thread takes at a time, and that a further thread is worth: some 3 microseconds
// each.
const std::size_t kChainsAtOnce = 64;
const std::size_t kChainsAThread = 256;

// A small ring, and a place on what it was fitted with.
struct Hole
{
    int32_t area; // that it is in
    uint32_t ring;
    fit::Point place;
};

// A piece of a chain of the area that a hole is in, near the hole.
struct NearPiece
{
    uint32_t hole;
    double square; // of how far its box is from the hole's place
    uint32_t chain;
    uint32_t piece;

    bool operator<(const NearPiece &other) const
    {
        return std::tie(hole, square, chain, piece)
            < std::tie(other.hole, other.square, other.chain, other.piece);
    }
    bool operator==(const NearPiece &other) const
    {
        return hole == other.hole && chain == other.chain && piece == other.piece;
    }
};

// A chord near a hole, and the area to either side.
struct Chord
{
    fit::Point a;
    fit::Point b;
    uint32_t chain;
    int32_t left;
    int32_t right;

    // The place on it that is nearest to p, but for its ends.
    fit::Point nearTo(fit::Point p) const
    {
        const fit::Point along = b - a;
        const double square = dot(along, along);
        const double t = square > 0 ? dot(p - a, along) / square : 0.5;
        return a + std::min(1 - kInside, std::max(kInside, t)) * along;
    }

    // y goes downwards.
    int32_t areaTowards(fit::Point p) const { return cross(b - a, p - a) < 0 ? left : right; }
};

double squareOf(fit::Point p)
{
    return dot(p, p);
}

double squareTo(const fit::Box &box, fit::Point p)
{
    return squareOf({ std::max({ box.low.x - p.x, 0.0, p.x - box.high.x }),
                      std::max({ box.low.y - p.y, 0.0, p.y - box.high.y }) });
}

// How far along the way from p to q a chord is crossed; above 1 where it is not.
double placeOnWay(fit::Point p, fit::Point q, const Chord &chord)
{
    const fit::Point way = q - p;
    const fit::Point along = chord.b - chord.a;
    const double turn = cross(way, along);
    if (turn == 0)
        return 2;
    const double place = cross(chord.a - p, along) / turn;
    const double onChord = cross(chord.a - p, way) / turn;
    return place >= 0 && onChord >= 0 && onChord <= 1 ? place : 2;
}

class Holes
{
public:
    Holes(const BoundaryMap &m, const std::vector<fit::Path> &p)
        : map(m), paths(p), grid(m.runs.width, m.runs.height)
    {
        for (std::size_t area = 0; area + 1 < map.firstRing.size(); ++area) {
            for (uint32_t ring = map.firstRing[area] + 1; ring < map.firstRing[area + 1]; ++ring) {
                const fit::Path &path = paths[chainOf(map.references[map.firstReference[ring]])];
                if (!path.pieces.empty() && isSmall(ring))
                    holes.push_back(
                        { int32_t(area), ring, fit::pointAt(path.pieces.front(), 0.5) });
            }
        }
    }

    void addPairs(unsigned threads, std::vector<std::pair<uint32_t, uint32_t>> *pairs)
    {
        if (holes.empty())
            return;
        grid.fill(holes.size(), [this](std::size_t k) {
            return Strip { holes[k].place, holes[k].place, kFarFromRim };
        });
        findAllNear(threads);
        std::sort(near.begin(), near.end());
        near.erase(std::unique(near.begin(), near.end()), near.end());
        for (std::size_t begin = 0; begin < near.size();) {
            const Hole &hole = holes[near[begin].hole];
            std::size_t end = begin;
            while (end < near.size() && near[end].hole == near[begin].hole)
                ++end;
            const uint32_t before = chainBefore(hole, begin, end);
            for (uint32_t k = map.firstReference[hole.ring];
                 before != kNoChain && k < map.firstReference[hole.ring + 1]; ++k)
                pairs->push_back(std::minmax(chainOf(map.references[k]), before));
            begin = end;
        }
    }

private:
    bool isSmall(uint32_t ring) const
    {
        uint32_t cracks = 0;
        for (uint32_t k = map.firstReference[ring];
             k < map.firstReference[ring + 1] && cracks <= kMostCracksOfSmall; ++k)
            cracks += map.chains[chainOf(map.references[k])].cracks;
        return cracks <= kMostCracksOfSmall;
    }

    bool isOfRing(uint32_t chain, uint32_t ring) const
    {
        const auto begin = map.references.begin();
        return std::any_of(begin + map.firstReference[ring], begin + map.firstReference[ring + 1],
                           [chain](uint32_t reference) { return chainOf(reference) == chain; });
    }

    // The area that a loop is the outer ring of.
    int32_t enclosedBy(uint32_t loop) const
    {
        const int32_t left = map.chains[loop].left;
        return left >= 0
                && chainOf(map.references[map.firstReference[map.firstRing[std::size_t(left)]]])
                    == loop
            ? left
            : map.chains[loop].right;
    }

    void findAllNear(unsigned threads)
    {
        std::vector<std::vector<NearPiece>> found(1 + paths.size() / kChainsAtOnce);
        const std::size_t most = 1 + paths.size() / kChainsAThread;
        forEachOnThreads(found.size(), unsigned(std::min<std::size_t>(threads, most)),
                         [&](std::size_t part) {
                             const std::size_t begin = part * kChainsAtOnce;
                             const std::size_t end = std::min(begin + kChainsAtOnce, paths.size());
                             for (std::size_t chain = begin; chain < end; ++chain)
                                 findNear(uint32_t(chain), &found[part]);
                         });
        for (const std::vector<NearPiece> &part : found)
            near.insert(near.end(), part.begin(), part.end());
    }

    void findNear(uint32_t chain, std::vector<NearPiece> *found) const
    {
        std::vector<double> places;
        for (uint32_t piece = 0; piece < paths[chain].pieces.size(); ++piece)
            findNear(chain, piece, &places, found);
    }

    // The holes of the areas beside a piece that it is near to. A long one is looked at part by
    // part: a slanted line has specks all over its box.
    void findNear(uint32_t chain, uint32_t number, std::vector<double> *places,
                  std::vector<NearPiece> *found) const
    {
        const fit::Piece &piece = paths[chain].pieces[number];
        const fit::Box box = boxOf(piece);
        if (std::max(box.high.x - box.low.x, box.high.y - box.low.y) <= kLongPiece) {
            findNear(box, chain, number, found);
            return;
        }
        findEndsOfChords(piece, places);
        fit::Point a = fit::isWhole(piece.kind) ? fit::pointAt(piece, 0) : piece.start;
        for (double end : *places) {
            const fit::Point b = fit::pointAt(piece, end);
            const int parts = 1 + int(std::sqrt(squareOf(b - a)) / kLongPiece);
            for (int k = 0; k < parts; ++k)
                findNear(boxOf(fit::linePiece(a + (double(k) / parts) * (b - a),
                                              a + (double(k + 1) / parts) * (b - a))),
                         chain, number, found);
            a = b;
        }
    }

    void findNear(const fit::Box &box, uint32_t chain, uint32_t piece,
                  std::vector<NearPiece> *found) const
    {
        const Chain &c = map.chains[chain];
        grid.forEachNear(box, [&](uint32_t number) {
            const Hole &hole = holes[number];
            if (c.left != hole.area && c.right != hole.area)
                return;
            const double square = squareTo(box, hole.place);
            if (square < kFarFromRim * kFarFromRim && !isOfRing(chain, hole.ring))
                found->push_back({ number, square, chain, piece });
        });
    }

    // The nearest chain where the hole lies beyond it, or none; `near` from begin to end is what is
    // near to it.
    uint32_t chainBefore(const Hole &hole, std::size_t begin, std::size_t end)
    {
        const fit::Point p = hole.place;
        chords.clear();
        fit::Point aim = p;
        double least = kFarFromRim * kFarFromRim;
        for (std::size_t k = begin; k < end && near[k].square < least; ++k) {
            const std::size_t first = chords.size();
            addChords(near[k]);
            for (std::size_t i = first; i < chords.size(); ++i) {
                const fit::Point place = chords[i].nearTo(p);
                if (squareOf(place - p) < least) {
                    least = squareOf(place - p);
                    aim = place;
                }
            }
        }
        const Chord *met = nullptr;
        double place = 1.5; // the nearest lies at 1, but for roundings
        for (const Chord &chord : chords) {
            const double crossed = placeOnWay(p, aim, chord);
            if (crossed < place) {
                met = &chord;
                place = crossed;
            }
        }
        return met == nullptr || met->areaTowards(p) == hole.area ? kNoChain : met->chain;
    }

    void addChords(const NearPiece &at)
    {
        const Chain &chain = map.chains[at.chain];
        const fit::Piece &piece = paths[at.chain].pieces[at.piece];
        findEndsOfChords(piece, &ends);
        const bool whole = fit::isWhole(piece.kind);
        fit::Point a = whole ? fit::pointAt(piece, 0) : piece.start;
        for (double end : ends) {
            const fit::Point b = fit::pointAt(piece, end);
            Chord chord = { a, b, at.chain, chain.left, chain.right };
            if (whole && chord.areaTowards(piece.centre) != enclosedBy(at.chain))
                std::swap(chord.a, chord.b); // they go no way
            chords.push_back(chord);
            a = b;
        }
    }

    const BoundaryMap &map;
    const std::vector<fit::Path> &paths;
    CellGrid grid; // of holes
    std::vector<Hole> holes;
    std::vector<NearPiece> near; // hole by hole, the nearest first, each once
    std::vector<Chord> chords;   // of what is nearest to the hole that is looked at
    std::vector<double> ends;
};

} // namespace

void addPassedOver(const BoundaryMap &map, const std::vector<fit::Path> &paths, unsigned threads,
                   std::vector<std::pair<uint32_t, uint32_t>> *pairs)
{
    Holes(map, paths).addPairs(threads, pairs);
}

} // namespace ztrace
