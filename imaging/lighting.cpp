// (c) the ztrace developers. Licence: see LICENSE.
#include "lighting.h"

#include "scan.h"

#include <QColor>

#include <algorithm>
#include <array>
#include <vector>

namespace ztrace {

namespace {

const int kTiles = 24;           // along the longer side
const int kLeastTile = 8;        // pixels
const double kPaperRank = 0.9;   // of a tile's lightnesses, the paper's
const double kLitPaper = 0.8;    // lightness of paper in full light; 0 is ink, 1 the lightest paper
const double kGradually = 0.2;   // largest step from tile to tile
const double kMargin = 0.05;     // of paper above a threshold
const double kInk = 0.15;        // tiles below are solid ink
const double kLeastShare = 0.01; // of tiles in the shade

class Tiles
{
public:
    explicit Tiles(const QImage &image)
        : side(std::max(kLeastTile, std::max(image.width(), image.height()) / kTiles)),
          columns((image.width() + side - 1) / side), rows((image.height() + side - 1) / side)
    {
        for (int row = 0; row < rows; ++row) {
            for (int column = 0; column < columns; ++column)
                papers.push_back(paperIn(image, column * side, row * side));
        }
    }

    // Papers between ink, 0, and the lightest, 1.
    void scale(double ink)
    {
        std::vector<double> sorted = papers;
        std::sort(sorted.begin(), sorted.end());
        const double lightest = sorted[sorted.size() * 9 / 10];
        range = std::max(1.0, lightest - ink);
        for (double &paper : papers)
            paper = (paper - ink) / range;
    }

    // Share of the tiles whose paper lies below, reached from paper in full light step by step, and
    // connected with the rim of the page in the same way: what is dark in its middle is drawn.
    double shareInShade(double below) const
    {
        std::vector<bool> isLit(papers.size(), false);
        std::vector<bool> atRim(papers.size(), false);
        for (std::size_t i = 0; i < papers.size(); ++i) {
            const int column = static_cast<int>(i) % columns;
            const int row = static_cast<int>(i) / columns;
            isLit[i] = papers[i] >= kLitPaper;
            atRim[i] = column == 0 || row == 0 || column == columns - 1 || row == rows - 1;
        }
        const std::vector<bool> gradual
            = reachedFrom(isLit, [this](std::size_t from, std::size_t to) {
                  return papers[to] >= kInk && papers[to] >= papers[from] - kGradually;
              });
        std::vector<bool> shade(papers.size(), false);
        for (std::size_t i = 0; i < papers.size(); ++i)
            shade[i] = gradual[i] && papers[i] < below;
        std::vector<bool> start(papers.size(), false);
        for (std::size_t i = 0; i < papers.size(); ++i)
            start[i] = shade[i] && atRim[i];
        const std::vector<bool> counted
            = reachedFrom(start, [&shade](std::size_t, std::size_t to) { return bool(shade[to]); });
        return double(std::count(counted.begin(), counted.end(), true)) / double(papers.size());
    }

    double range = 1.0; // from ink to the lightest paper

private:
    // The tiles of a start, and those that steps to the side lead to.
    template<class MayStep>
    std::vector<bool> reachedFrom(std::vector<bool> reached, const MayStep &mayStep) const
    {
        std::vector<std::size_t> open;
        for (std::size_t i = 0; i < reached.size(); ++i) {
            if (reached[i])
                open.push_back(i);
        }
        while (!open.empty()) {
            const std::size_t from = open.back();
            open.pop_back();
            const int column = static_cast<int>(from) % columns;
            const int row = static_cast<int>(from) / columns;
            const int steps[4][2] = { { -1, 0 }, { 1, 0 }, { 0, -1 }, { 0, 1 } };
            for (const auto &step : steps) {
                const int toColumn = column + step[0];
                const int toRow = row + step[1];
                if (toColumn < 0 || toRow < 0 || toColumn >= columns || toRow >= rows)
                    continue;
                const std::size_t to = static_cast<std::size_t>(toRow * columns + toColumn);
                if (reached[to] || !mayStep(from, to))
                    continue;
                reached[to] = true;
                open.push_back(to);
            }
        }
        return reached;
    }

    double paperIn(const QImage &image, int left, int top) const
    {
        std::array<int, 256> counts = {};
        int pixels = 0;
        for (int y = top; y < std::min(top + side, image.height()); ++y) {
            const QRgb *words = reinterpret_cast<const QRgb *>(image.constScanLine(y));
            for (int x = left; x < std::min(left + side, image.width()); ++x, ++pixels)
                ++counts[static_cast<std::size_t>(QColor(words[x]).lightness())];
        }
        int lightness = 0;
        for (double sum = 0.0; lightness < 255; ++lightness) {
            sum += counts[static_cast<std::size_t>(lightness)];
            if (sum >= kPaperRank * pixels)
                break;
        }
        return lightness;
    }

    int side;
    int columns;
    int rows;
    std::vector<double> papers;
};

double inkIn(const Histogram &counts)
{
    const double kDarkest = 0.005; // of the pixels
    double pixels = 0.0;
    for (double count : counts)
        pixels += count;
    std::size_t lightness = 0;
    for (double sum = counts[0]; sum < kDarkest * pixels; sum += counts[++lightness]) { }
    return double(lightness);
}

} // namespace

bool isUnevenlyLit(const QImage &image)
{
    const Histogram counts = histogramOf(image);
    if (std::count(counts.begin(), counts.end(), 0.0) >= 254)
        return false; // two lightnesses
    const double ink = inkIn(counts);
    Tiles tiles(image);
    tiles.scale(ink);
    return tiles.shareInShade((otsuThreshold(counts) - ink) / tiles.range + kMargin) >= kLeastShare;
}

PixPtr evenlyLit(PIX *page)
{
    return PixPtr(pixBackgroundNormSimple(page, nullptr, nullptr));
}

} // namespace ztrace
