// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/fillets.h"

#include "strokes/carriers.h"
#include "strokes/cornerarcs.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace ztrace::strokes {

namespace {

// Widths that a line leads on beyond its corners at least.
const double kFewWidths = 1.5;
// Pixels that noise may take of a line's corner for it to tell what it was: of pens of three pixels
// a threshold leaves round corners of sharp ones.
const double kMuchTaken = 2.0;
const double kLeastAngle = 0.5; // radians between lines that are a corner
const int kMeanRounds = 6;
const double kStep = 0.5;    // pixels between places that tell whether a line goes on
const double kOwn = 0.6;     // pixels beyond half a width that an arc explains
const double kInset = 1.2;   // pixels inside of a line's edge where its own ink is looked for
const double kLeastTold = 2; // places that tell whether a line goes on
const double kInked = 0.4;   // part of them that is ink where it does
// Pixels that radii of one drawing's corners differ by in one bit or in noise, and corners that
// tell a mean.
const double kAlike = 1.3;
const double kFewAlike = 4;
const double kOneWay = 0.95;   // cosine between rays of which the longer one counts
const double kOneSite = 2.5;   // pixels that crossings of one corner lie apart
const double kLeastLeft = 0.5; // widths of a line between two arcs
const double kSeenPart = 0.6; // part of a line or arc on the arcs of a corner that was seen of them
const double kLeftOver = 1.0; // pixels and half widths beside an arc that what was seen of it lies
const std::size_t kManyLines = 3000; // of more, pairs are not compared

// A line that leads away from a corner.
struct Ray
{
    int atom = -1;
    double at = 0.0;  // of the corner, along the atom's line
    double way = 1.0; // 1 or -1: the direction along it
    Point direction = { 0, 0 };
    double length = 0.0; // from the corner to the line's end
};

// An arc in the angle of two rays.
struct Fillet : CornerArc
{
    int ray[2] = { -1, -1 }; // of the site
    bool kept = true;
};

struct Site
{
    Point place = { 0, 0 };
    std::vector<Ray> rays;
    std::vector<Fillet> fillets;
    std::vector<std::pair<Ray, std::size_t>> shadowed; // and the longer ray along each
};

// Stretch of a line that an arc takes, along it.
struct Cut
{
    double from = 0.0;
    double to = 0.0;
};

class Fillets
{
public:
    Fillets(const Coverage &c, const Measure &m, Web *w)
        : coverage(c), measure(m), uneven(m.hard || m.taken > 0.0), web(*w)
    { }

    void take()
    {
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            const Atom &atom = web.atoms[k];
            if (atom.alive && atom.shape == Shape::Line && atom.role == Role::Line
                && atom.dashing.type == DashType::None && measure.takenOf(atom.width) < kMuchTaken
                && lengthOf(atom.place[1] - atom.place[0]) > kFewWidths * atom.width)
                lines.push_back(int(k));
        }
        if (lines.size() > kManyLines)
            return;
        findSites();
        for (Site &site : sites)
            settle(&site);
        if (uneven)
            shareRadii();
        for (const Site &site : sites)
            draw(site);
        for (const auto &entry : cuts) {
            if (atom(entry.first).alive)
                cut(entry.first, entry.second);
        }
    }

private:
    const Atom &atom(int number) const { return web.atoms[std::size_t(number)]; }

    static double alongOf(const Atom &line, Point p)
    {
        return fit::dot(p - line.carrier.point, line.carrier.direction);
    }

    static double reachOf(const Atom &line) { return cornerReach(line.width); }

    void findSites()
    {
        for (std::size_t i = 0; i < lines.size(); ++i) {
            for (std::size_t k = i + 1; k < lines.size(); ++k)
                addCorner(lines[i], lines[k]);
        }
    }

    void addCorner(int one, int other)
    {
        const Atom &a = atom(one);
        const Atom &b = atom(other);
        const double sine = std::fabs(fit::cross(a.carrier.direction, b.carrier.direction));
        if (sine < std::sin(kLeastAngle))
            return;
        const Crossings crossings = crossingsOf(a.carrier, b.carrier);
        if (crossings.count == 0 || !isNear(a, crossings.place[0])
            || !isNear(b, crossings.place[0]))
            return;
        Site *site = siteAt(crossings.place[0]);
        addRays(one, site);
        addRays(other, site);
    }

    static bool isNear(const Atom &line, Point p)
    {
        const double at = alongOf(line, p);
        const double ends[] = { alongOf(line, line.place[0]), alongOf(line, line.place[1]) };
        return at > std::min(ends[0], ends[1]) - reachOf(line)
            && at < std::max(ends[0], ends[1]) + reachOf(line);
    }

    Site *siteAt(Point place)
    {
        const int x = int(std::floor(place.x / kOneSite));
        const int y = int(std::floor(place.y / kOneSite));
        for (int i = -1; i <= 1; ++i) {
            for (int k = -1; k <= 1; ++k) {
                const auto found = siteOf.find({ x + i, y + k });
                if (found != siteOf.end()
                    && lengthOf(sites[found->second].place - place) < kOneSite)
                    return &sites[found->second];
            }
        }
        siteOf[{ x, y }] = sites.size();
        sites.push_back({ place, {}, {}, {} });
        return &sites.back();
    }

    void addRays(int number, Site *site) const
    {
        const Atom &line = atom(number);
        for (const Ray &ray : site->rays) {
            if (ray.atom == number)
                return;
        }
        const double at = alongOf(line, site->place);
        for (const Point &end : line.place) {
            Ray ray;
            ray.atom = number;
            ray.at = at;
            const double ahead = alongOf(line, end) - at;
            ray.way = ahead < 0 ? -1.0 : 1.0;
            ray.direction = ray.way * line.carrier.direction;
            ray.length = std::fabs(ahead);
            if (ray.length > kFewWidths * line.width && isFarther(line, end, at))
                site->rays.push_back(ray);
        }
    }

    // Whether an end is the far one of a line that does not come to a place at all.
    static bool isFarther(const Atom &line, Point end, double at)
    {
        const double one = alongOf(line, line.place[0]) - at;
        const double other = alongOf(line, line.place[1]) - at;
        const double mine = alongOf(line, end) - at;
        return one * other < 0 || std::fabs(mine) >= std::max(std::fabs(one), std::fabs(other));
    }

    // Sets rays aside along which a longer one leads: a line may come in pieces, and what skeletons
    // leave in a corner may look like one.
    static void setShadowedAside(Site *site)
    {
        std::vector<Ray> rays = std::move(site->rays);
        std::sort(rays.begin(), rays.end(),
                  [](const Ray &a, const Ray &b) { return a.length > b.length; });
        site->rays.clear();
        for (const Ray &ray : rays) {
            const auto other
                = std::find_if(site->rays.begin(), site->rays.end(), [&](const Ray &longer) {
                      return fit::dot(ray.direction, longer.direction) > kOneWay;
                  });
            if (other == site->rays.end())
                site->rays.push_back(ray);
            else
                site->shadowed.push_back({ ray, std::size_t(other - site->rays.begin()) });
        }
    }

    void settle(Site *site)
    {
        setShadowedAside(site);
        for (std::size_t i = 0; i < site->rays.size(); ++i) {
            for (std::size_t k = i + 1; k < site->rays.size(); ++k) {
                Fillet fillet;
                fillet.ray[0] = int(i);
                fillet.ray[1] = int(k);
                if (findFillet(*site, &fillet))
                    site->fillets.push_back(fillet);
            }
        }
        for (bool changed = true; changed;) {
            changed = false;
            for (Fillet &fillet : site->fillets) {
                if (!fillet.kept || (mayEnd(*site, fillet.ray[0]) && mayEnd(*site, fillet.ray[1])))
                    continue;
                fillet.kept = false;
                changed = true;
            }
        }
    }

    bool findFillet(const Site &site, Fillet *fillet) const
    {
        const Ray &a = site.rays[std::size_t(fillet->ray[0])];
        const Ray &b = site.rays[std::size_t(fillet->ray[1])];
        if (a.atom == b.atom)
            return false;
        Corner corner;
        corner.place = site.place;
        corner.line[0] = &atom(a.atom);
        corner.line[1] = &atom(b.atom);
        corner.direction[0] = a.direction;
        corner.direction[1] = b.direction;
        corner.alone = site.rays.size() == 2;
        return arcIn(corner, coverage, uneven, fillet)
            && fillet->tangent < std::min(a.length, b.length);
    }

    // Whether a ray has ink of its own between the corner and the arcs that touch it. Arcs that
    // are small against their pen leave no place that tells it.
    enum class Own { Ink, None, Untold };
    Own ownInk(const Site &site, int number) const
    {
        const Ray &ray = site.rays[std::size_t(number)];
        const double width = atom(ray.atom).width;
        const double most = tangentOf(site, number);
        const Point aside = { -ray.direction.y, ray.direction.x };
        double told = 0.0;
        double ink = 0.0;
        for (double s = 0.0; s < most; s += kStep) {
            for (const double beside : { 0.0, 0.5 * width - kInset, kInset - 0.5 * width }) {
                const Point p = site.place + s * ray.direction + beside * aside;
                if (isExplained(site, p))
                    continue;
                told += 1.0;
                ink += coverage.at(p) >= 0.5 ? 1.0 : 0.0;
            }
        }
        if (told < kLeastTold)
            return Own::Untold;
        return ink < kInked * told ? Own::None : Own::Ink;
    }

    // Whether a ray may end on arcs: where nothing tells, others of its corner have to.
    bool mayEnd(const Site &site, int number) const
    {
        if (!(tangentOf(site, number) > 0.0))
            return false;
        const Own own = ownInk(site, number);
        if (own != Own::Untold)
            return own == Own::None;
        if (site.rays.size() == 2)
            return true;
        for (std::size_t k = 0; k < site.rays.size(); ++k) {
            if (tangentOf(site, int(k)) > 0.0 && ownInk(site, int(k)) == Own::None)
                return true;
        }
        return false;
    }

    // In one bit lines lie up to half a pixel off where they keep within a row, and radii by twice
    // that, to either side; so they do in noise. Corners of about one radius have their mean.
    void shareRadii()
    {
        std::vector<double> radii;
        for (const Site &site : sites) {
            for (const Fillet &fillet : site.fillets) {
                if (fillet.kept)
                    radii.push_back(fillet.radius);
            }
        }
        for (Site &site : sites) {
            for (Fillet &fillet : site.fillets) {
                if (fillet.kept)
                    shareRadius(site, radii, &fillet);
            }
        }
    }

    void shareRadius(const Site &site, const std::vector<double> &radii, Fillet *fillet) const
    {
        double mean = fillet->radius;
        double count = 0.0;
        for (int round = 0; round < kMeanRounds; ++round) {
            double sum = 0.0;
            count = 0.0;
            for (double radius : radii) {
                if (std::fabs(radius - mean) < kAlike) {
                    sum += radius;
                    count += 1.0;
                }
            }
            mean = sum / count;
        }
        if (count < kFewAlike)
            return;
        const Point sum = site.rays[std::size_t(fillet->ray[0])].direction
            + site.rays[std::size_t(fillet->ray[1])].direction;
        const double half = 0.5 * fillet->angle;
        fillet->radius = mean;
        fillet->centre = site.place + (mean / (std::sin(half) * lengthOf(sum))) * sum;
        fillet->tangent = mean / std::tan(half);
    }

    // Pixels along a ray to where the last of its arcs touches it.
    static double tangentOf(const Site &site, int number)
    {
        double least = 0.0;
        for (const Fillet &fillet : site.fillets) {
            if (fillet.kept && (fillet.ray[0] == number || fillet.ray[1] == number))
                least = least > 0.0 ? std::min(least, fillet.tangent) : fillet.tangent;
        }
        return least;
    }

    static bool isExplained(const Site &site, Point p)
    {
        return std::any_of(site.fillets.begin(), site.fillets.end(), [&](const Fillet &fillet) {
            return isOn(fillet, p, 0.5 * fillet.width + kOwn);
        });
    }

    static bool isOnArcs(const Site &site, Point p, double within)
    {
        return std::any_of(site.fillets.begin(), site.fillets.end(),
                           [&](const Fillet &fillet) { return isOn(fillet, p, within); });
    }

    static bool isOn(const Fillet &fillet, Point p, double within)
    {
        return fillet.kept && std::fabs(lengthOf(p - fillet.centre) - fillet.radius) < within;
    }

    void draw(const Site &site)
    {
        bool isFirst = true;
        for (const Fillet &fillet : site.fillets) {
            if (!fillet.kept)
                continue;
            if (isFirst)
                dropSeen(site);
            isFirst = false;
            addArc(site, fillet);
        }
        for (std::size_t k = 0; k < site.rays.size(); ++k)
            addCut(site.rays[k], tangentOf(site, int(k)));
        for (const auto &entry : site.shadowed)
            addCut(entry.first, tangentOf(site, int(entry.second)));
    }

    void addCut(const Ray &ray, double tangent)
    {
        if (!(tangent > 0.0))
            return;
        const double end = ray.at + ray.way * tangent;
        cuts[ray.atom].push_back({ std::min(ray.at, end), std::max(ray.at, end) });
    }

    // What was taken for the corner before: short lines and arcs, and the ring around the hole that
    // four arcs leave, all of which lies on the arcs.
    void dropSeen(const Site &site)
    {
        double reach = 0.0;
        double width = 0.0;
        for (const Fillet &fillet : site.fillets) {
            reach = std::max(reach, fillet.kept ? fillet.tangent : 0.0);
            width = std::max(width, fillet.kept ? fillet.width : 0.0);
        }
        const double slack = 0.5 * width + kLeftOver;
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            Atom &other = web.atoms[k];
            if (!other.alive || other.shape > Shape::Circle || other.samples.empty())
                continue;
            const auto isOf = [&](Point p) {
                return lengthOf(p - site.place) < reach + slack && isOnArcs(site, p, slack);
            };
            // Some cross-sections of a line may have gone into what ends on it.
            const auto own
                = std::count_if(other.samples.begin(), other.samples.end(),
                                [&](const Section &section) { return isOf(section.centre); });
            const double part = other.shape == Shape::Circle ? 1.0 : kSeenPart;
            const bool areOf = double(own) >= part * double(other.samples.size());
            const bool isRay = std::any_of(site.rays.begin(), site.rays.end(),
                                           [&](const Ray &ray) { return ray.atom == int(k); });
            if (areOf && !isRay)
                other.alive = false;
        }
    }

    // Where an arc is nearest to a line.
    Point touchOf(const Fillet &fillet, const Ray &ray) const
    {
        const Point foot = atom(ray.atom).carrier.foot(fillet.centre);
        const Point to = foot - fillet.centre;
        return fillet.centre + (fillet.radius / lengthOf(to)) * to;
    }

    void addArc(const Site &site, const Fillet &fillet)
    {
        const Ray &a = site.rays[std::size_t(fillet.ray[0])];
        const Ray &b = site.rays[std::size_t(fillet.ray[1])];
        Atom arc;
        arc.shape = Shape::Arc;
        arc.place[0] = touchOf(fillet, a);
        arc.place[1] = touchOf(fillet, b);
        const Point from = arc.place[0] - fillet.centre;
        const Point to = arc.place[1] - fillet.centre;
        const double turn = std::atan2(fit::cross(from, to), fit::dot(from, to));
        arc.carrier = { true, fillet.centre, { 1, 0 }, fillet.radius, turn < 0 ? -1. : 1., 0 };
        const int steps = std::max(2, int(std::fabs(turn) * fillet.radius));
        arc.moments.ox = site.place.x;
        arc.moments.oy = site.place.y;
        for (int k = 0; k <= steps; ++k) {
            const double c = std::cos(turn * k / steps);
            const double s = std::sin(turn * k / steps);
            Section section;
            section.centre
                = fillet.centre + Point { c * from.x - s * from.y, s * from.x + c * from.y };
            section.width = fillet.width;
            section.clear = true;
            arc.samples.push_back(section);
            addTo(&arc.moments, section.centre, 1.0);
        }
        arc.width = fillet.width;
        web.atoms.push_back(std::move(arc));
    }

    // What is left of a line without the stretches that arcs take: one or several.
    void cut(int number, std::vector<Cut> taken)
    {
        const Atom whole = atom(number);
        const double ends[] = { alongOf(whole, whole.place[0]), alongOf(whole, whole.place[1]) };
        const double way = ends[1] < ends[0] ? -1.0 : 1.0;
        std::sort(taken.begin(), taken.end(),
                  [](const Cut &a, const Cut &b) { return a.from < b.from; });
        double from = std::min(ends[0], ends[1]);
        double last = std::max(ends[0], ends[1]);
        const double least = kLeastLeft * whole.width;
        std::vector<Cut> left;
        for (const Cut &one : taken) {
            // One that comes to the corner from before is made longer where it was too short.
            if (one.from > from + least)
                left.push_back({ from, one.from });
            from = one.from > last ? last : one.to;
        }
        if (last > from + least)
            left.push_back({ from, last });
        bool isFirst = true;
        for (const Cut &part : left) {
            Atom piece = whole;
            const Point one = whole.carrier.point + part.from * whole.carrier.direction;
            const Point other = whole.carrier.point + part.to * whole.carrier.direction;
            piece.place[0] = way > 0 ? one : other;
            piece.place[1] = way > 0 ? other : one;
            piece.samples.clear();
            for (const Section &section : whole.samples) {
                const double at = alongOf(whole, section.centre);
                if (at >= part.from && at <= part.to)
                    piece.samples.push_back(section);
            }
            if (piece.samples.size() < 2)
                continue;
            for (int end = 0; end < 2; ++end) {
                if (lengthOf(piece.place[end] - whole.place[end]) > 1e-6)
                    piece.joint[end] = -1;
            }
            if (isFirst)
                web.atoms[std::size_t(number)] = std::move(piece);
            else
                web.atoms.push_back(std::move(piece));
            isFirst = false;
        }
        if (isFirst)
            web.atoms[std::size_t(number)].alive = false;
    }

    const Coverage &coverage;
    const Measure &measure;
    const bool uneven; // edges, by steps of one bit or by noise
    Web &web;
    std::vector<int> lines;
    std::vector<Site> sites;
    std::map<std::pair<int, int>, std::size_t> siteOf; // by cells of kOneSite
    std::map<int, std::vector<Cut>> cuts;
};

} // namespace

void takeFillets(const Coverage &coverage, const Measure &measure, Web *web)
{
    Fillets(coverage, measure, web).take();
}

} // namespace ztrace::strokes
