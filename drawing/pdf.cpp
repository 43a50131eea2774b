// (c) the ztrace developers. Licence: see LICENSE.
#include "pdf.h"

#include "TextSink.h"
#include "pdf_gradients.h"
#include "pdf_pages.h"
#include "pens.h"
#include "pieces.h"
#include "strokepaths.h"
#include "text.h"

#include <QMap>

#include <cmath>
#include <limits>
#include <new>

namespace ztrace {

namespace {

const int kDecimals = 6;            // of coordinates in pixels
const double kArcTolerance = 0.001; // pixels, of exact coordinates
const double kArcPart = 0.2;        // of the last decimal of rounded ones
const int kMostRounded = 4;         // decimals that rounded coordinates have
const double kMostWhole = 1e15;     // coordinates beyond are not rounded
const int kCompressionHeader = 4;   // qCompress puts the length before the zlib stream

// Objects are collected with their places, which the table at the end of the file lists.
class PdfFile
{
public:
    PdfFile() { text = "%PDF-1.5\n%\xE2\xE3\xCF\xD3\n"; }

    int reserve()
    {
        places.append(0);
        return places.size();
    }

    int objects() const { return places.size(); }

    void object(int number, const QByteArray &body)
    {
        places[number - 1] = text.size();
        text += QByteArray::number(number) + " 0 obj\n" + body + "\nendobj\n";
    }

    void stream(int number, const std::string &data)
    {
        if (data.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
            throw std::bad_alloc();
        const QByteArray packed
            = qCompress(reinterpret_cast<const uchar *>(data.data()), static_cast<int>(data.size()))
                  .mid(kCompressionHeader);
        if (packed.isEmpty() && !data.empty())
            throw std::bad_alloc(); // it says so in no other way
        object(number,
               "<< /Length " + QByteArray::number(packed.size())
                   + " /Filter /FlateDecode >>\nstream\n" + packed + "\nendstream");
    }

    QByteArray finish(int catalog)
    {
        const int table = text.size();
        text += "xref\n0 " + QByteArray::number(places.size() + 1) + "\n0000000000 65535 f \n";
        for (int place : qAsConst(places))
            text += QByteArray::number(place).rightJustified(10, '0') + " 00000 n \n";
        text += "trailer\n<< /Size " + QByteArray::number(places.size() + 1) + " /Root "
            + QByteArray::number(catalog) + " 0 R >>\nstartxref\n" + QByteArray::number(table)
            + "\n%%EOF\n";
        return text;
    }

private:
    QByteArray text;
    QVector<int> places;
};

QByteArray reference(int number)
{
    return QByteArray::number(number) + " 0 R";
}

// Text as UTF-16 in hexadecimal digits, which needs no escaping.
QByteArray hexText(const QString &text)
{
    QByteArray hex = "<FEFF";
    for (QChar letter : text)
        hex += QByteArray::number(letter.unicode(), 16).rightJustified(4, '0');
    return hex + '>';
}

class PageContent
{
public:
    // With layers, each is marked; without, outlines are painted as they come.
    PageContent(const Drawing &d, const PaintStyle &s, const std::vector<Layer> &l)
        : drawing(d), style(s), layers(l), frame(frameOf(d)),
          isRounded(d.precision > 0.0 && decimalsFor(d.precision) <= kMostRounded),
          perPixel(isRounded ? std::pow(10.0, decimalsFor(d.precision)) : 1.0)
    { }

    const std::string &make()
    {
        const double scale = drawing.pointsPerPixel();
        matrix(scale / perPixel, -frame.x * scale, -frame.y * scale);
        content += "1 j 1 J\n"; // round joins and ends
        if (layers.empty() || !layers.front().hasGround)
            paintGround();
        for (std::size_t i = 0; i < layers.size(); ++i) {
            content += "/OC /L" + QByteArray::number(static_cast<int>(i)) + " BDC\n";
            if (layers[i].hasGround)
                paintGround();
            for (const Outline *outline : layers[i].outlines)
                paint(*outline);
            content += "EMC\n";
        }
        if (layers.empty()) {
            for (const Outline &outline : drawing.outlines)
                paint(outline);
        }
        return content;
    }

    // Opacities that were used, with the number of their graphics state.
    QMap<int, int> opacities;

private:
    // A coordinate in pixels: of those that are rounded how many of their last decimal it is, which
    // takes fewer bytes.
    void number(double value)
    {
        if (isRounded && std::fabs(value * perPixel) < kMostWhole)
            appendWhole(&content, std::llround(value * perPixel));
        else
            appendNumber(&content, value * perPixel, kDecimals);
        content += ' ';
    }

    // Of a pen or a dash, in pixels.
    void length(double value)
    {
        appendNumber(&content, value * perPixel, kDecimals);
        content += ' ';
    }

    void matrix(double scale, double dx, double dy)
    {
        const int kScaleDecimals = 12;
        const QByteArray factor = numberText(scale, kScaleDecimals);
        content += factor + " 0 0 " + factor + ' ' + numberText(dx, kScaleDecimals) + ' '
            + numberText(dy, kScaleDecimals) + " cm\n";
    }

    // Says nothing where it is what was said last.
    void colour(QRgb rgb, const char *setter)
    {
        const int kColourDecimals = 5;
        const bool isStroke = setter[0] == 'R';
        qint64 &current = isStroke ? strokeColour : fillColour;
        if (current == qint64(rgb & RGB_MASK))
            return;
        current = rgb & RGB_MASK;
        for (int channel : { qRed(rgb), qGreen(rgb), qBlue(rgb) }) {
            appendNumber(&content, channel / 255.0, kColourDecimals);
            content += ' ';
        }
        content += setter;
        content += '\n';
    }

    // Of the area, and of its seam.
    void paintWith(const Outline &outline)
    {
        if (gradientOf(drawing, outline)) {
            fillColour = strokeColour = kNoColour;
            const QByteArray name = pdfPatternName(outline.gradient);
            content += "/Pattern cs " + name + " scn\n";
            if (outline.seam > 0.0)
                content += "/Pattern CS " + name + " SCN\n";
            return;
        }
        colour(outline.colour, "rg");
        if (outline.seam > 0.0)
            colour(outline.colour, "RG");
    }

    void opacity(int alpha)
    {
        if (alpha == currentAlpha)
            return;
        currentAlpha = alpha;
        if (!opacities.contains(alpha))
            opacities.insert(alpha, opacities.size());
        content += "/A" + QByteArray::number(opacities.value(alpha)) + " gs\n";
    }

    void paintGround()
    {
        if (qAlpha(drawing.ground) == 0 || style.stroked)
            return;
        colour(drawing.ground, "rg");
        for (double value : { frame.x, frame.y, frame.width, frame.height })
            number(value);
        content += "re f\n";
    }

    void paint(const Outline &outline)
    {
        const int alpha = qAlpha(outline.colour);
        if (outline.pen >= 0) {
            paintStroke(outline);
            return;
        }
        if (style.stroked) {
            opacity(alpha == 0 ? 255 : alpha);
            colour(outline.colour, "RG");
            length(style.strokeWidth);
            content += "w\n";
            path(outline.shape, true);
            content += "S\n";
            return;
        }
        if (alpha == 0 || (outline.isGround && !style.byLayer))
            return;
        opacity(alpha);
        paintWith(outline);
        if (outline.seam > 0.0) {
            length(outline.seam);
            content += "w\n";
        }
        const bool hasLine = outline.seam > 0.0;
        path(style.byLayer ? outline.shape : filledShape(outline), hasLine);
        const std::vector<const Path *> holes = cutOutOf(outline, drawing, !style.byLayer);
        for (const Path *hole : holes)
            path(*hole, hasLine);
        content += hasLine ? 'B' : 'f';
        content += holes.empty() ? "\n" : "*\n";
    }

    // Round ends and joins, drawn throughout, are what the page begins with.
    void paintStroke(const Outline &outline)
    {
        const int alpha = qAlpha(outline.colour);
        if (alpha == 0 && !style.stroked)
            return;
        const Pen pen = penOf(drawing, outline);
        const std::vector<double> dashes = paintedDashesOf(pen);
        opacity(alpha == 0 ? 255 : alpha);
        colour(outline.colour, "RG");
        length(pen.width);
        content += "w\n";
        if (!pen.roundEnds)
            content += "0 j 0 J " + QByteArray::number(kMiterLimit) + " M\n";
        if (!dashes.empty()) {
            content += '[';
            for (double dash : dashes)
                length(dash);
            content += "] 0 d\n";
        }
        path(outline.shape, true);
        content += "S\n";
        if (!dashes.empty())
            content += "[] 0 d\n";
        if (!pen.roundEnds)
            content += "1 j 1 J\n";
    }

    void point(const Point &p)
    {
        number(p.x);
        number(p.y);
    }

    // What is only filled is closed by that, and a last line back is drawn by closing.
    void path(const Path &shape, bool hasLine)
    {
        piecesOf(shape, &pieces);
        replaceArcs(isRounded ? kArcPart / perPixel : kArcTolerance, &pieces);
        if (pieces.empty())
            return;
        const bool closed = isClosed(pieces);
        if (closed && pieces.size() > 1 && pieces.back().kind == PathPiece::Line)
            pieces.pop_back();
        point(pieces.front().start);
        content += "m\n";
        for (const PathPiece &piece : pieces)
            writePiece(piece);
        if (closed && hasLine)
            content += "h\n";
    }

    void writePiece(const PathPiece &piece)
    {
        const auto third = [](const Point &a, const Point &b) {
            return Point(a.x + (b.x - a.x) * 2.0 / 3.0, a.y + (b.y - a.y) * 2.0 / 3.0);
        };
        switch (piece.kind) {
        case PathPiece::Quadratic:
            point(third(piece.start, piece.control1));
            point(third(piece.end, piece.control1));
            break;
        case PathPiece::Cubic:
            point(piece.control1);
            point(piece.control2);
            break;
        case PathPiece::Spline: // piecesOf leaves none,
        case PathPiece::Arc:    // nor replaceArcs
        case PathPiece::EllipticArc:
        case PathPiece::Line:
            point(piece.end);
            content += "l\n";
            return;
        }
        point(piece.end);
        content += "c\n";
    }

    const Drawing &drawing;
    const PaintStyle &style;
    const std::vector<Layer> &layers;
    const Frame frame;
    const bool isRounded;
    const double perPixel; // units of the page's contents
    std::string content;
    std::vector<PathPiece> pieces; // of one outline, kept for its memory
    int currentAlpha = 255;
    static constexpr qint64 kNoColour = -1;
    qint64 fillColour = kNoColour; // without its alpha, as said last
    qint64 strokeColour = kNoColour;
};

// What the page names: opacities, patterns, and a group a layer, which are listed for the catalogue
// as well.
QByteArray resourcesOf(const PageContent &content, const QByteArray &patterns,
                       const std::vector<Layer> &layers, PdfFile *file, QByteArray *groups)
{
    QByteArray resources;
    if (!content.opacities.isEmpty()) {
        resources += " /ExtGState <<";
        for (auto it = content.opacities.constBegin(); it != content.opacities.constEnd(); ++it) {
            const QByteArray value = numberText(it.key() / 255.0, 5);
            resources += " /A" + QByteArray::number(it.value()) + " << /ca " + value + " /CA "
                + value + " >>";
        }
        resources += " >>";
    }
    resources += patterns;
    if (layers.empty())
        return resources;
    resources += " /Properties <<";
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const int group = file->reserve();
        file->object(group, "<< /Type /OCG /Name " + hexText(layers[i].name) + " >>");
        resources += " /L" + QByteArray::number(static_cast<int>(i)) + ' ' + reference(group);
        *groups += reference(group) + ' ';
    }
    return resources + " >>";
}

QByteArray pageBody(const Drawing &drawing, int pages, int contents, const QByteArray &resources)
{
    const int kSizeDecimals = 6;
    const Frame frame = frameOf(drawing);
    const double scale = drawing.pointsPerPixel();
    return "<< /Type /Page /Parent " + reference(pages) + " /MediaBox [0 0 "
        + numberText(frame.width * scale, kSizeDecimals) + ' '
        + numberText(frame.height * scale, kSizeDecimals) + "] /Contents " + reference(contents)
        + " /Resources <<" + resources + " >> >>";
}

QByteArray catalogBody(int pages, const QByteArray &groups)
{
    QByteArray body = "<< /Type /Catalog /Pages " + reference(pages);
    if (!groups.isEmpty())
        body += " /OCProperties << /OCGs [" + groups + "] /D << /Order [" + groups + "] >> >>";
    return body + " >>";
}

} // namespace

struct PdfBook::Parts
{
    PdfFile file;
    const int catalog = file.reserve();
    const int pages = file.reserve();
    QByteArray kids;
    int count = 0;
    QByteArray groups; // layers of all pages
};

PdfBook::PdfBook() : parts(new Parts) { }

PdfBook::~PdfBook() = default;

void PdfBook::add(const Drawing &given, const PaintStyle &style)
{
    const std::optional<Drawing> joined = withCorners(given);
    const Drawing &drawing = joined ? *joined : given;
    PdfFile &file = parts->file;
    const int page = file.reserve();
    const int contents = file.reserve();
    const std::vector<Layer> layers = style.byLayer ? drawing.layered() : std::vector<Layer>();
    PageContent content(drawing, style, layers);
    file.stream(contents, content.make());
    const QByteArray resources
        = resourcesOf(content, style.stroked ? QByteArray() : pdfPatterns(drawing), layers, &file,
                      &parts->groups);
    file.object(page, pageBody(drawing, parts->pages, contents, resources));
    addKid(page);
}

bool PdfBook::addPage(const QByteArray &file)
{
    PdfPage page;
    if (!takePdfPage(file, &page))
        return false;
    const int more = parts->file.objects() + 1 - kPdfFirstOfPage;
    for (std::size_t i = 0; i < page.objects.size(); ++i)
        parts->file.reserve();
    const int contents = kPdfFirstOfPage + 1; // has no references, but any bytes
    for (const PdfPage::Object &object : page.objects) {
        parts->file.object(object.number + more,
                           object.number == contents ? object.body
                                                     : renumberedPdf(object.body, more));
    }
    parts->groups += renumberedPdf(page.groups, more);
    addKid(kPdfFirstOfPage + more);
    return true;
}

void PdfBook::addKid(int page)
{
    parts->kids += (parts->count > 0 ? " " : "") + reference(page);
    ++parts->count;
}

bool PdfBook::isEmpty() const
{
    return parts->count == 0;
}

bool PdfBook::write(QIODevice *device)
{
    parts->file.object(parts->pages,
                       "<< /Type /Pages /Kids [" + parts->kids + "] /Count "
                           + QByteArray::number(parts->count) + " >>");
    parts->file.object(parts->catalog, catalogBody(parts->pages, parts->groups));
    return writeFully(device, parts->file.finish(parts->catalog));
}

bool writePdf(const Drawing &drawing, const PaintStyle &style, QIODevice *device)
{
    PdfBook book;
    book.add(drawing, style);
    return book.write(device);
}

} // namespace ztrace
