// (c) the ztrace developers. Licence: see LICENSE.
#include "chains.h"

#include "pieces.h"

namespace ztrace {

namespace {

Point startOf(const std::vector<BoundaryChain> &chains, int reference)
{
    const Path &path = chains[chainOfReference(reference)].path;
    return reference < 0 ? path.end() : path.start();
}

void appendChain(const Path &chain, bool backwards, Path *path)
{
    if (!backwards) {
        for (const PathPiece piece : chain.pieces())
            appendForwards(piece, path);
        return;
    }
    std::vector<PathPiece> pieces;
    for (const PathPiece piece : chain.pieces())
        pieces.push_back(piece);
    for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece)
        appendReversed(*piece, path);
}

// Finds what is wrong with the chains of a drawing, outline by outline.
class Inspection
{
public:
    explicit Inspection(const Drawing &d)
        : drawing(d), chains(d.chains), isUsed(2 * d.chains.size(), false)
    { }

    QString flaw()
    {
        for (std::size_t k = 0; k < chains.size(); ++k) {
            const QString wrong = flawOfChain(chains[k]);
            if (!wrong.isEmpty())
                return QString::fromLatin1("chain %1: %2").arg(k).arg(wrong);
        }
        for (std::size_t i = 0; i < drawing.outlines.size(); ++i) {
            const QString wrong = flawOfRings(static_cast<int>(i), drawing.outlines[i]);
            if (!wrong.isEmpty())
                return QString::fromLatin1("outline %1: %2").arg(i).arg(wrong);
        }
        for (std::size_t k = 0; k < chains.size(); ++k) {
            if ((chains[k].right >= 0 && !isUsed[2 * k])
                || (chains[k].left >= 0 && !isUsed[2 * k + 1]))
                return QString::fromLatin1("chain %1: one of its sides is in no ring").arg(k);
        }
        return QString();
    }

private:
    QString flawOfChain(const BoundaryChain &chain) const
    {
        const int count = static_cast<int>(drawing.outlines.size());
        for (int side : { chain.left, chain.right }) {
            if (side >= count)
                return QString::fromLatin1("there is no outline %1").arg(side);
            if (side >= 0 && drawing.outlines[static_cast<std::size_t>(side)].pen >= 0)
                return QString::fromLatin1("outline %1 is no area").arg(side);
        }
        if (chain.path.pieces().empty())
            return QLatin1String("it has no pieces");
        return QString();
    }

    QString flawOfRings(int number, const Outline &outline)
    {
        for (const std::vector<int> &ring : outline.rings) {
            QString wrong
                = ring.empty() ? QLatin1String("a ring has no chains") : flawOfRing(number, ring);
            if (!wrong.isEmpty())
                return wrong;
        }
        if (!outline.rings.empty() && pathAlong(chains, outline.rings.front()) != outline.shape)
            return QLatin1String("the chains of its first ring are not its shape");
        return QString();
    }

    QString flawOfRing(int number, const std::vector<int> &ring)
    {
        for (std::size_t k = 0; k < ring.size(); ++k) {
            const std::size_t place = chainOfReference(ring[k]);
            if (place >= chains.size())
                return QString::fromLatin1("there is no chain %1").arg(place);
            const int right = ring[k] < 0 ? chains[place].left : chains[place].right;
            const std::size_t side = 2 * place + (ring[k] < 0 ? 1 : 0);
            if (right != number)
                return QString::fromLatin1("it is not on that side of chain %1").arg(place);
            if (isUsed[side])
                return QString::fromLatin1("chain %1 is in its rings twice").arg(place);
            isUsed[side] = true;
        }
        for (std::size_t k = 0; k < ring.size(); ++k) {
            if (startOf(chains, ~ring[k]) != startOf(chains, ring[(k + 1) % ring.size()]))
                return QString::fromLatin1("the next chain does not begin where chain %1 ends")
                    .arg(chainOfReference(ring[k]));
        }
        return QString();
    }

    const Drawing &drawing;
    const std::vector<BoundaryChain> &chains;
    std::vector<bool> isUsed; // twice the chain's number, plus one for its left side
};

} // namespace

Path pathAlong(const std::vector<BoundaryChain> &chains, const std::vector<int> &ring)
{
    Path path;
    if (ring.empty())
        return path;
    path.moveTo(startOf(chains, ring.front()));
    for (int reference : ring)
        appendChain(chains[chainOfReference(reference)].path, reference < 0, &path);
    return path;
}

QString flawOfChains(const Drawing &drawing)
{
    return Inspection(drawing).flaw();
}

} // namespace ztrace
