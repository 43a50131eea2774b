// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/samples.h"

#include "strokes/distance.h"
#include "strokes/forest.h"
#include "strokes/primitives.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;        // pixels between the values of a cross-section
const double kPaper = 0.06;      // coverage that counts as none
const double kRises = 0.04;      // coverage by which another line announces itself
const double kPaperBeyond = 2.5; // pixels outside of the ink that its edge may be soft
const int kChord = 5;            // cells to either side that the direction is taken from
// Parts of the median width, and pixels, that a cross-section may differ from it.
const double kWidthPart = 0.2;
const double kWidthSlack = 0.6;
// The same parts of that by which what lies between two corners differs where another pen drew it,
// and cross-sections that tell: of a leaf of 4.6 pixels and its arc of 2.7 the arc was left out.
const double kOtherPen = 0.6;
const std::size_t kPenTold = 16;
// Deviations of a branch's widths, and pixels at least, by which a wider one sees another line.
const double kSpreads = 3.0;
const double kLeastSpread = 0.12;
// Part of the middle half of a branch that is no wider than what tells no other line: steps of
// black and white make some widths of a slanting line greater, in turn with others that are alike.
const double kUsualPart = 0.8;
// Cross-sections of a core that is seen, and widths beyond both its joints that a core is long of
// which nothing is.
const std::size_t kLeastSeen = 2;
const double kUnseenWidths = 1.0;
// Times, and widths, that a stretch of hardly spoilt ones may be longer than is due to it.
const double kOuterPart = 2.0;
const double kOuterWidths = 3.0;
const int kSettled = 5;            // cross-sections in a row that tell that none is seen any more
const double kJunctionReach = 1.0; // pixels around the disc of a junction that it spoils
const double kLeastTurn = 0.42;    // radians of a corner; 24 degrees
// Times by which an arc has to miss a corner's cross-sections farther than two lines do.
const double kCornerContrast = 2.0;
const double kCornerFloor = 0.06; // pixels
const int kLeastArm = 4;          // cross-sections of a corner's side
const std::size_t kRadii = 9;     // places of a branch that its usual radius is the median of
const double kCornerReach = 0.6;  // widths around a corner that see both sides
// A rounded corner keeps its width all along the turn, and passes the place where its two sides
// cross on the inside: widths and pixels that it may differ from it, and that it passes by at
// least. Ink of a sharp corner is up to .41 widths wider there, or .29 narrower where square ends
// meet.
const double kRoundWidthPart = 0.1;
const double kRoundWidthSlack = 0.35;
const double kRoundPassPart = 0.25;
const double kRoundPassSlack = 0.3;

double distanceBetween(Point a, Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

// One side of a cross-section: sums of coverage times step, and of that times the place.
struct HalfSection
{
    double area = 0.0;
    double moment = 0.0;
    bool clear = false;
};

HalfSection walkOut(const Coverage &coverage, Point place, Point step, double reach)
{
    HalfSection half;
    double least = 2.0;
    for (double t = 0.5 * kStep; t < reach; t += kStep) {
        const double part = coverage.at(place + t * step);
        if (part > least + kRises && least < 0.5) {
            half.clear = true;
            break;
        }
        half.area += part * kStep;
        half.moment += part * t * kStep;
        least = std::min(least, part);
        if (part < kPaper) {
            half.clear = true;
            break;
        }
    }
    half.clear = half.clear || least < 0.35;
    return half;
}

// The value that a part of all is less than; 0 of none.
double quantile(std::vector<double> values, double part)
{
    if (values.empty())
        return 0.0;
    const auto place = values.begin() + std::ptrdiff_t(part * double(values.size()));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

// A line through points by least squares: mean, direction, root of the mean squared distance.
struct Arm
{
    Point mean;
    Point direction;
    double rms;
};

Arm armOf(const std::vector<Section> &sections, int first, int last)
{
    fit::Moments m = {};
    m.ox = sections[std::size_t(first)].centre.x;
    m.oy = sections[std::size_t(first)].centre.y;
    for (int i = first; i <= last; ++i) {
        const Point p = sections[std::size_t(i)].centre - Point { m.ox, m.oy };
        m.w += 1;
        m.x += p.x;
        m.y += p.y;
        m.xx += p.x * p.x;
        m.xy += p.x * p.y;
        m.yy += p.y * p.y;
    }
    const fit::LineMoments c = fit::lineMoments(m);
    const fit::Primitive line = fit::lineOf(m, c, sections[std::size_t(first)].centre,
                                            sections[std::size_t(last)].centre);
    return { line.point, line.direction, std::sqrt(c.least) };
}

class CoreFinder
{
public:
    CoreFinder(const Graph &g, const Plane &d, const Coverage &c)
        : graph(g), distance(d), coverage(c)
    { }

    Cores find()
    {
        clusterOf.resize(graph.nodes.size());
        std::iota(clusterOf.begin(), clusterOf.end(), 0);
        std::vector<std::vector<Section>> sections(graph.branches.size());
        for (std::size_t b = 0; b < graph.branches.size(); ++b) {
            if (graph.branches[b].alive)
                sections[b] = sectionsOf(graph.branches[b]);
        }
        bridges.assign(graph.branches.size(), false);
        for (std::size_t b = 0; b < graph.branches.size(); ++b) {
            if (graph.branches[b].alive && isBridge(graph.branches[b], sections[b])) {
                bridges[b] = true;
                unite(&clusterOf, graph.branches[b].node[0], graph.branches[b].node[1]);
            }
        }
        makeJoints();
        for (std::size_t b = 0; b < graph.branches.size(); ++b) {
            if (graph.branches[b].alive && !bridges[b])
                addCores(int(b), sections[b]);
        }
        uniteOverUnseen();
        return std::move(result);
    }

private:
    // One a cell.
    std::vector<Section> sectionsOf(const Branch &branch) const
    {
        const int n = int(branch.cells.size());
        std::vector<Section> sections;
        sections.reserve(std::size_t(n));
        for (int i = 0; i < n; ++i) {
            const uint32_t cell = branch.cells[std::size_t(i)];
            const Point chord = distance.middleOf(cellAlong(branch, i + kChord))
                - distance.middleOf(cellAlong(branch, i - kChord));
            const double length = std::hypot(chord.x, chord.y);
            const Point direction = length > 0 ? (1 / length) * chord : Point { 1, 0 };
            const double reach = 1.6 * std::max(0.5, radiusOf(distance.cells[cell])) + kPaperBeyond;
            Section section = sectionAt(coverage, distance.middleOf(cell), direction, reach);
            sections.push_back(section);
        }
        return sections;
    }

    static uint32_t cellAlong(const Branch &branch, int i)
    {
        const int n = int(branch.cells.size());
        if (branch.closed())
            return branch.cells[std::size_t(((i % n) + n) % n)];
        return branch.cells[std::size_t(std::clamp(i, 0, n - 1))];
    }

    // Nothing but the ink of the two junctions it lies between.
    bool isBridge(const Branch &branch, const std::vector<Section> &sections) const
    {
        if (branch.closed() || branch.node[0] == branch.node[1])
            return false;
        const Node &from = graph.nodes[std::size_t(branch.node[0])];
        const Node &to = graph.nodes[std::size_t(branch.node[1])];
        if (from.ends.size() < 3 || to.ends.size() < 3)
            return false;
        if (lengthOf(graph, distance, branch) <= from.radius + to.radius + 1.0)
            return true;
        const double usual = std::min(usualWidth(from, branch), usualWidth(to, branch));
        if (usual <= 0.0 || double(branch.cells.size()) > 6.0 * usual)
            return false;
        return std::none_of(sections.begin(), sections.end(), [usual](const Section &section) {
            return section.clear && section.width < 1.2 * usual + kWidthSlack;
        });
    }

    // The largest of the widths of the ink along the other branches at a node. With the least,
    // every piece of an outline between the thinner lines of a hatch is wider than usual, and the
    // whole hatch becomes one joint.
    double usualWidth(const Node &node, const Branch &except) const
    {
        double most = 0.0;
        for (const BranchEnd &end : node.ends) {
            const Branch &branch = graph.branches[std::size_t(end.branch)];
            if (&branch == &except || branch.cells.empty())
                continue;
            most = std::max(most, 2 * usualRadius(branch));
        }
        return most;
    }

    // The median of some radii of its middle half: noise takes half a width in a single place.
    double usualRadius(const Branch &branch) const
    {
        const std::size_t n = branch.cells.size();
        std::array<double, kRadii> radii;
        for (std::size_t k = 0; k < kRadii; ++k)
            radii[k] = radiusOf(distance.cells[branch.cells[n / 4 + n / 2 * k / kRadii]]);
        std::nth_element(radii.begin(), radii.begin() + kRadii / 2, radii.end());
        return radii[kRadii / 2];
    }

    // One a cluster of nodes, its disc around those of the nodes.
    void makeJoints()
    {
        jointOf.assign(graph.nodes.size(), -1);
        std::vector<int> members(graph.nodes.size(), 0);
        for (std::size_t n = 0; n < graph.nodes.size(); ++n) {
            const Node &node = graph.nodes[n];
            if (node.ends.empty())
                continue;
            const std::size_t root = std::size_t(rootOf(&clusterOf, int(n)));
            if (jointOf[root] < 0) {
                jointOf[root] = int(result.joints.size());
                result.joints.emplace_back();
                result.joints.back().kind
                    = node.ends.size() == 1 ? JointKind::Tip : JointKind::Junction;
            }
            jointOf[n] = jointOf[root];
            Joint &joint = result.joints[std::size_t(jointOf[n])];
            joint.place = joint.place + node.place;
            ++members[std::size_t(jointOf[n])];
        }
        for (std::size_t j = 0; j < result.joints.size(); ++j)
            result.joints[j].place = (1.0 / members[j]) * result.joints[j].place;
        for (std::size_t n = 0; n < graph.nodes.size(); ++n) {
            if (jointOf[n] < 0)
                continue;
            Joint &joint = result.joints[std::size_t(jointOf[n])];
            joint.radius = std::max(joint.radius,
                                    graph.nodes[n].radius
                                        + distanceBetween(joint.place, graph.nodes[n].place));
        }
    }

    void addCores(int number, const std::vector<Section> &sections)
    {
        const Branch &branch = graph.branches[std::size_t(number)];
        const int n = int(sections.size());
        std::vector<double> widths;
        for (const Section &section : sections) {
            if (section.clear)
                widths.push_back(section.width);
        }
        const double width = quantile(widths, 0.5);
        const std::vector<int> corners = cornersOf(branch, sections, width);
        if (branch.closed() && corners.empty()) {
            addCore(number, sections, 0, n, width, -1, -1);
            return;
        }
        std::vector<int> joints;
        for (int corner : corners) {
            joints.push_back(int(result.joints.size()));
            result.joints.push_back(
                { sections[std::size_t(corner)].centre, kCornerReach * width, JointKind::Corner });
        }
        if (branch.closed()) {
            for (std::size_t k = 0; k < corners.size(); ++k) {
                const std::size_t next = (k + 1) % corners.size();
                const int last = corners[next] + (next <= k ? n : 0);
                addCore(number, sections, corners[k], last, width, joints[k], joints[next]);
            }
            return;
        }
        int first = 0;
        int from = jointOf[std::size_t(branch.node[0])];
        for (std::size_t k = 0; k < corners.size(); ++k) {
            addCore(number, sections, first, corners[k], width, from, joints[k]);
            first = corners[k];
            from = joints[k];
        }
        addCore(number, sections, first, n, width, from, jointOf[std::size_t(branch.node[1])]);
    }

    void addCore(int number, const std::vector<Section> &sections, int first, int last,
                 double width, int from, int to)
    {
        Core core;
        core.branch = number;
        core.joint[0] = from;
        core.joint[1] = to;
        core.length = last - first;
        const int n = int(sections.size());
        double slack = widthSlackOf(sections, width);
        std::vector<Section> part;
        for (int i = first; i < last; ++i)
            part.push_back(sections[std::size_t(i % n)]);
        const double own = widthInMiddle(part);
        if (own > 0.0 && std::fabs(own - width) > kOtherPen * (kWidthPart * width + kWidthSlack)) {
            width = own;
            slack = widthSlackOf(part, width);
        }
        first += spoiltCells(sections, first, 1, last - first, from, width, slack);
        last -= spoiltCells(sections, last - 1, -1, last - first, to, width, slack);
        for (int i = first; i < last; ++i) {
            const Section &section = sections[std::size_t(i % n)];
            if (section.clear && std::fabs(section.width - width) < kWidthPart * width + kWidthSlack
                && !isSpoilt(section.centre, from) && !isSpoilt(section.centre, to))
                core.samples.push_back(section);
        }
        core.width = width;
        result.cores.push_back(std::move(core));
    }

    // The usual width of the middle half of a part of a branch, 0 where it is too short to tell: at
    // a corner one pen may follow another, as the arc of a door does its leaf.
    static double widthInMiddle(const std::vector<Section> &part)
    {
        std::vector<double> widths;
        for (std::size_t k = part.size() / 4; 4 * k < 3 * part.size(); ++k) {
            if (part[k].clear)
                widths.push_back(part[k].width);
        }
        return widths.size() < kPenTold ? 0.0 : quantile(std::move(widths), 0.5);
    }

    bool isTip(int joint) const
    {
        return joint < 0 || result.joints[std::size_t(joint)].kind == JointKind::Tip;
    }

    // Joints with a core between them of which nothing is seen are one: where a branch turns right
    // beside a junction, what comes around the corner meets the lines of the junction.
    void uniteOverUnseen()
    {
        std::vector<int> same(result.joints.size());
        std::iota(same.begin(), same.end(), 0);
        for (const Core &core : result.cores) {
            if (core.samples.size() >= kLeastSeen || isTip(core.joint[0]) || isTip(core.joint[1]))
                continue;
            const Joint &from = result.joints[std::size_t(core.joint[0])];
            const Joint &to = result.joints[std::size_t(core.joint[1])];
            if (core.length <= from.radius + to.radius + kUnseenWidths * core.width)
                unite(&same, core.joint[0], core.joint[1]);
        }
        std::vector<Joint> joints = result.joints;
        for (std::size_t j = 0; j < joints.size(); ++j) {
            const std::size_t root = std::size_t(rootOf(&same, int(j)));
            if (root == j)
                continue;
            const Joint &one = result.joints[j];
            Joint &all = joints[root];
            const double apart = distanceBetween(one.place, all.place);
            if (one.kind == JointKind::Junction && all.kind != JointKind::Junction) {
                all = { one.place, std::max(one.radius, all.radius + apart), one.kind };
            } else {
                all.radius = std::max(all.radius, one.radius + apart);
            }
        }
        result.joints = std::move(joints);
        for (Core &core : result.cores) {
            for (int &joint : core.joint)
                joint = joint < 0 ? joint : rootOf(&same, joint);
        }
    }

    // Pixels by which the widths of a branch spread around their median.
    static double widthSlackOf(const std::vector<Section> &sections, double width)
    {
        std::vector<double> differences;
        std::vector<double> inMiddle;
        const std::size_t n = sections.size();
        for (std::size_t k = 0; k < n; ++k) {
            if (!sections[k].clear)
                continue;
            differences.push_back(std::fabs(sections[k].width - width));
            if (4 * k >= n && 4 * k < 3 * n)
                inMiddle.push_back(sections[k].width - width);
        }
        return std::max({ kLeastSpread, kSpreads * quantile(std::move(differences), 0.5),
                          quantile(std::move(inMiddle), kUsualPart) });
    }

    // How many cross-sections from the begin on, by steps of 1 or -1, see the ink of another line:
    // up to where kSettled in a row are no wider than the line. Lines at an angle leave each other
    // as they came together: what is hardly too wide goes on in proportion to what is far too wide.
    // Steps of black and white may leave a whole stretch of a line wider than the rest.
    int spoiltCells(const std::vector<Section> &sections, int begin, int step, int most, int joint,
                    double width, double slack) const
    {
        if (isTip(joint))
            return 0;
        const int n = int(sections.size());
        const double far = kWidthPart * width + kWidthSlack;
        int settled = 0;
        int spoilt = 0;
        int mixed = 0; // up to where sections are far too wide
        for (int k = 0; k < most && settled < kSettled; ++k) {
            const Section &section = sections[std::size_t((begin + step * k + n) % n)];
            const bool wide = !section.clear || section.width > width + slack;
            settled = wide ? 0 : settled + 1;
            if (wide)
                spoilt = k + 1;
            if (!section.clear || section.width > width + far)
                mixed = k + 1;
        }
        if (settled < kSettled)
            return 0;
        const double outer
            = kOuterPart * far / std::max(width - far, far) * mixed + kOuterWidths * width;
        return double(spoilt - mixed) > outer ? mixed : spoilt;
    }

    bool isSpoilt(Point place, int number) const
    {
        if (number < 0)
            return false;
        const Joint &joint = result.joints[std::size_t(number)];
        const double reach = joint.kind == JointKind::Tip ? 0.0 : joint.radius + kJunctionReach;
        return distanceBetween(place, joint.place) < reach;
    }

    // Cross-sections at which a branch turns as two lines do and no arc does.
    std::vector<int> cornersOf(const Branch &branch, const std::vector<Section> &sections,
                               double width) const
    {
        const int n = int(sections.size());
        const int gap = int(0.5 * width + 1.5);
        const int arm = int(width + 4.5);
        std::vector<int> corners;
        double bestTurn = 0.0;
        int best = -1;
        if (n < 2 * (gap + kLeastArm) || (branch.closed() && n < 4 * (gap + arm)))
            return corners;
        // Closed ones are looked at in a copy that goes on past the end.
        std::vector<Section> line = sections;
        const int rim = branch.closed() ? gap + arm : 0;
        if (branch.closed()) {
            line.insert(line.begin(), sections.end() - rim, sections.end());
            line.insert(line.end(), sections.begin(), sections.begin() + rim);
        }
        const int end = int(line.size());
        for (int i = gap + kLeastArm; i < end - gap - kLeastArm; ++i) {
            const double turn = cornerAt(line, i, gap, arm, width);
            if (best >= 0 && (i - best > gap + kLeastArm || (turn <= 0.0 && i - best > gap))) {
                takeCorner(best - rim, n, &corners);
                best = -1;
                bestTurn = 0.0;
            }
            if (turn > bestTurn) {
                bestTurn = turn;
                best = i;
            }
        }
        if (best >= 0)
            takeCorner(best - rim, n, &corners);
        std::sort(corners.begin(), corners.end());
        const int apart = int(2 * (kCornerReach * width + kJunctionReach)) + 1;
        return apartFrom(corners, apart, branch.closed() ? n : 0);
    }

    // Corners between which no cross-section tells anything are one, half way between them: the
    // skeleton runs across the outside of a mitred corner. `around` is the length of a closed
    // branch.
    static std::vector<int> apartFrom(const std::vector<int> &corners, int apart, int around)
    {
        std::vector<int> result;
        for (std::size_t k = 0; k < corners.size();) {
            std::size_t last = k;
            while (last + 1 < corners.size() && corners[last + 1] - corners[last] <= apart)
                ++last;
            result.push_back((corners[k] + corners[last]) / 2);
            k = last + 1;
        }
        if (around > 0 && result.size() > 1 && result.front() + around - result.back() <= apart)
            result.pop_back();
        return result;
    }

    static void takeCorner(int at, int n, std::vector<int> *corners)
    {
        if (at >= 0 && at < n)
            corners->push_back(at);
    }

    // Radians of the turn; 0 where there is no corner.
    static double cornerAt(const std::vector<Section> &line, int i, int gap, int arm, double width)
    {
        const int n = int(line.size());
        const int first = std::max(0, i - gap - arm);
        const int last = std::min(n - 1, i + gap + arm);
        const Point here = line[std::size_t(i)].centre;
        const Point in = here - line[std::size_t(first)].centre;
        const Point out = line[std::size_t(last)].centre - here;
        if (std::fabs(std::atan2(fit::cross(in, out), fit::dot(in, out))) < 0.5 * kLeastTurn)
            return 0.0;
        const Arm before = armOf(line, first, i - gap);
        const Arm after = armOf(line, i + gap, last);
        const double turn = std::fabs(std::atan2(fit::cross(before.direction, after.direction),
                                                 fit::dot(before.direction, after.direction)));
        if (turn < kLeastTurn)
            return 0.0;
        const double lines = std::max(before.rms, after.rms);
        const bool isCorner = arcMisses(line, first, last) > kCornerContrast * lines + kCornerFloor
            && !isRounded(line[std::size_t(i)], before, after, width);
        return isCorner ? turn : 0.0;
    }

    // Whether the cross-section in the middle of a turn is of an arc between both sides.
    static bool isRounded(const Section &middle, const Arm &before, const Arm &after, double width)
    {
        if (!middle.clear
            || std::fabs(middle.width - width) > kRoundWidthPart * width + kRoundWidthSlack)
            return false;
        const double sine = fit::cross(before.direction, after.direction);
        const double ahead = fit::cross(after.mean - before.mean, after.direction) / sine;
        const Point crossing = before.mean + ahead * before.direction;
        return distanceBetween(crossing, middle.centre) > kRoundPassPart * width + kRoundPassSlack;
    }

    // Root of the mean squared distance from one arc.
    static double arcMisses(const std::vector<Section> &line, int first, int last)
    {
        fit::Moments m = {};
        m.ox = line[std::size_t((first + last) / 2)].centre.x;
        m.oy = line[std::size_t((first + last) / 2)].centre.y;
        for (int i = first; i <= last; ++i)
            addTo(&m, line[std::size_t(i)].centre, 1.0);
        fit::Primitive circle = {};
        if (!fit::circleOf(m, fit::lineMoments(m), &circle))
            return 0.0;
        double sum = 0.0;
        for (int i = first; i <= last; ++i) {
            const double d = circle.distance(line[std::size_t(i)].centre);
            sum += d * d;
        }
        return std::sqrt(sum / (last - first + 1));
    }

    const Graph &graph;
    const Plane &distance;
    const Coverage &coverage;
    std::vector<int> clusterOf; // of every node
    std::vector<int> jointOf;   // of every node
    std::vector<bool> bridges;  // of every branch
    Cores result;
};

} // namespace

Section sectionAt(const Coverage &coverage, Point place, Point direction, double reach)
{
    const Point normal = { -direction.y, direction.x };
    const HalfSection left = walkOut(coverage, place, normal, reach);
    const HalfSection right = walkOut(coverage, place, -1.0 * normal, reach);
    Section section;
    section.width = left.area + right.area;
    section.clear = left.clear && right.clear && section.width > 0.0;
    const double offset = section.width > 0.0 ? (left.moment - right.moment) / section.width : 0.0;
    section.centre = place + offset * normal;
    return section;
}

Cores coresOf(const Graph &graph, const Plane &distance, const Coverage &coverage)
{
    return CoreFinder(graph, distance, coverage).find();
}

} // namespace ztrace::strokes
