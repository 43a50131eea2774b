// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/letterforms.h"

#include "strokes/forest.h"
#include "strokes/meeting.h"
#include "strokes/pieces.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace::strokes {

namespace {

const std::size_t kTelling = 5; // cross-sections that tell a direction in a letter
// Cross-sections in a row that lie beside the strokes on average, pixels and widths. On a sheet of
// 41 letters in one bit .76 to .87 px where a letter is drawn wrongly, such as a 5 without its
// corner, and .59 at most elsewhere.
const std::size_t kInRow = 5;
const double kMissedPixels = 0.75;
const double kMissedWidths = 0.1;
// Widths of paper under a stroke: closed openings have more, dents of noise less.
const double kOverPaper = 0.8;
const double kInked = 0.5;
const double kStep = 0.75; // pixels along a stroke

// What hangs together: cores by their joints, and by the atoms that they have become parts of.
struct Letter
{
    std::vector<int> cores;
    std::vector<int> atoms; // that are alive
    bool isAlone = true;    // nothing but lettering
};

int living(const Web &web, int number)
{
    while (number >= 0 && !web.atoms[std::size_t(number)].alive)
        number = web.atoms[std::size_t(number)].heir;
    return number;
}

std::vector<Letter> lettersOf(const std::vector<Core> &cores, const Web &web)
{
    std::vector<int> parent(cores.size());
    std::iota(parent.begin(), parent.end(), 0);
    std::vector<int> coreAt(web.joints.size(), -1);
    for (std::size_t k = 0; k < cores.size(); ++k) {
        for (int joint : cores[k].joint) {
            if (joint < 0)
                continue;
            int &other = coreAt[std::size_t(joint)];
            if (other >= 0)
                unite(&parent, other, int(k));
            other = int(k);
        }
    }
    std::vector<int> coreOf(web.atoms.size(), -1); // of what is alive
    for (std::size_t k = 0; k < web.atoms.size(); ++k) {
        const int drawn = living(web, int(k));
        const int core = web.atoms[k].core;
        if (drawn < 0 || core < 0)
            continue;
        int &first = coreOf[std::size_t(drawn)];
        if (first >= 0)
            unite(&parent, first, core);
        first = core;
    }
    std::vector<int> letterOf(cores.size(), -1);
    std::vector<Letter> letters;
    for (std::size_t k = 0; k < web.atoms.size(); ++k) {
        const Atom &atom = web.atoms[k];
        if (!atom.alive || coreOf[k] < 0)
            continue;
        int &letter = letterOf[std::size_t(rootOf(&parent, coreOf[k]))];
        if (letter < 0) {
            letter = int(letters.size());
            letters.emplace_back();
        }
        Letter &it = letters[std::size_t(letter)];
        it.atoms.push_back(int(k));
        it.isAlone = it.isAlone && atom.role == Role::Text;
    }
    for (std::size_t k = 0; k < cores.size(); ++k) {
        const int letter = letterOf[std::size_t(rootOf(&parent, int(k)))];
        if (letter >= 0)
            letters[std::size_t(letter)].cores.push_back(int(k));
    }
    return letters;
}

// Whether strokes and cross-sections lie where the other ones are.
class Comparison
{
public:
    Comparison(const std::vector<Core> &c, const Coverage &i, const Web &w)
        : cores(c), coverage(i), web(w)
    { }

    bool misses(const Letter &letter)
    {
        places.clear();
        for (int number : letter.atoms) {
            if (web.atoms[std::size_t(number)].connects
                || goesOverPaper(web.atoms[std::size_t(number)]))
                return true;
        }
        return std::any_of(letter.cores.begin(), letter.cores.end(),
                           [this](int number) { return isMissed(cores[std::size_t(number)]); });
    }

private:
    // Puts the places of its middle beside the others.
    bool goesOverPaper(const Atom &atom)
    {
        const fit::Piece piece = pieceOf(atom);
        const double length = lengthOf(piece);
        const int steps = std::max(1, int(length / kStep));
        double paper = 0.0;
        for (int k = 0; k <= steps; ++k) {
            const Point place = fit::pointAt(piece, double(k) / steps);
            places.push_back(place);
            paper = coverage.at(place) < kInked ? paper + length / steps : 0.0;
            if (paper > kOverPaper * atom.width)
                return true;
        }
        return false;
    }

    // Whether some cross-sections in a row lie beside the strokes.
    bool isMissed(const Core &core) const
    {
        std::vector<double> beside;
        double sum = 0.0;
        for (const Section &section : core.samples) {
            double nearest = 1e300;
            for (Point place : places) {
                const Point d = place - section.centre;
                nearest = std::min(nearest, fit::dot(d, d));
            }
            beside.push_back(std::sqrt(nearest));
            sum += beside.back();
            if (beside.size() > kInRow)
                sum -= beside[beside.size() - 1 - kInRow];
            if (beside.size() >= kInRow
                && sum > std::max(kMissedPixels, kMissedWidths * core.width) * double(kInRow))
                return true;
        }
        return false;
    }

    const std::vector<Core> &cores;
    const Coverage &coverage;
    const Web &web;
    std::vector<Point> places;
};

// Its joints are left to nobody, as all that meets there is of the letter.
void takeOut(const Letter &letter, Web *web)
{
    for (int number : letter.atoms) {
        Atom &atom = web->atoms[std::size_t(number)];
        for (int joint : atom.joint) {
            if (joint >= 0)
                web->meetings[std::size_t(joint)] = Meeting();
        }
        atom.alive = false;
        atom.samples = std::vector<Section>();
    }
}

void putIn(Web letters, std::size_t nodes, Web *web)
{
    const int shift = int(web->joints.size()) - int(nodes);
    const int first = int(web->atoms.size());
    web->joints.insert(web->joints.end(), letters.joints.begin() + std::ptrdiff_t(nodes),
                       letters.joints.end());
    web->meetings.resize(web->joints.size());
    for (Atom &atom : letters.atoms) {
        for (int &joint : atom.joint)
            joint += joint >= int(nodes) ? shift : 0;
        atom.heir += atom.heir >= 0 ? first : 0;
        atom.core = -1; // which was counted among letters alone
        web->atoms.push_back(std::move(atom));
    }
}

} // namespace

void drawLettersAnew(const std::vector<Core> &cores, std::size_t nodes, const Coverage &coverage,
                     double least, const Measure &measure, Web *web)
{
    Cores chosen;
    Comparison comparison(cores, coverage, *web);
    for (const Letter &letter : lettersOf(cores, *web)) {
        if (!letter.isAlone || !comparison.misses(letter))
            continue;
        for (int core : letter.cores)
            chosen.cores.push_back(cores[std::size_t(core)]);
        takeOut(letter, web);
    }
    if (chosen.cores.empty())
        return;
    chosen.joints.assign(web->joints.begin(), web->joints.begin() + std::ptrdiff_t(nodes));
    Measure own = measureOfShort(cores, least);
    own.hard = measure.hard;
    own.taken = measure.taken;
    std::vector<Atom> atoms = atomsOf(&chosen, own);
    for (Atom &atom : atoms)
        atom.role = Role::Text;
    Web letters = webOf(std::move(atoms), std::move(chosen.joints));
    joinAcrossJoints(own, kTelling, &letters);
    joinAlongCarriers(coverage, own, gapLimits(false), &letters);
    joinAcrossJoints(own, 0, &letters);
    settleEnds(coverage, own, &letters);
    putIn(std::move(letters), nodes, web);
}

} // namespace ztrace::strokes
