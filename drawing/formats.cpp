// (c) the ztrace developers. Licence: see LICENSE.
#include "formats.h"

#include "geojson.h"
#include "json.h"
#include "pdf.h"
#include "png.h"
#include "svg.h"
#include "topojson.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const char kSvgBeginning[]
    = R"(^<\?xml version="1\.0" encoding="UTF-8"\?>\n<svg xmlns="http://www\.w3\.org/2000/svg")"
      R"(( xmlns:inkscape="[^"]*")? width="[^"]*" height="[^"]*" viewBox="0 0 [^"]*">\n)";
const char kDxfBeginning[] = R"(^0\nSECTION\n2\nHEADER\n9\n\$ACADVER\n1\nAC10(09|15|18)\n9\n)"
                             R"(\$(HANDSEED\n5\n\w+\n9\n\$INSUNITS|EXTMIN)\n)";
const char kPdfBeginning[] = R"(^%PDF-1\.5\n%\xE2\xE3\xCF\xD3\n\d+ 0 obj\n<< /Length \d+ )"
                             R"(/Filter /FlateDecode >>\nstream\n)";
const char kJsonBeginning[] = R"(^\{"format":"ztrace drawing")";
const char kGeoJsonBeginning[]
    = R"re(^\{"type":"FeatureCollection",("(coordinates|crs)":.*)?"features":\[(\n|\]))re";
const char kTopoJsonBeginning[] = R"(^\{"type":"Topology",.*"objects":\{"areas":)";

Written outcome(bool isWhole)
{
    return isWhole ? Written::Whole : Written::DeviceRefused;
}

Written asSvg(const Drawing &drawing, const WriteOptions &options, QIODevice *device)
{
    SvgOptions svg;
    svg.style = options.style;
    svg.decimals = options.decimals;
    return outcome(writeSvg(drawing, svg, device));
}

Written asDxf(const Drawing &drawing, const WriteOptions &options, QIODevice *device)
{
    return outcome(writeDxf(drawing, options.dxf, device));
}

Written asPdf(const Drawing &drawing, const WriteOptions &options, QIODevice *device)
{
    return outcome(writePdf(drawing, options.style, device));
}

Written asPng(const Drawing &drawing, const WriteOptions &options, QIODevice *device)
{
    QImage picture = renderDrawing(drawing, options.style, options.scale);
    if (picture.isNull())
        return Written::NoMemory;
    picture.setText(QString::fromLatin1(kPreviewKey), QString::fromLatin1(kPreviewValue));
    return outcome(savePng(picture, device));
}

Written asJson(const Drawing &drawing, const WriteOptions &, QIODevice *device)
{
    return outcome(writeJson(drawing, device));
}

Written asGeoJson(const Drawing &drawing, const WriteOptions &options, QIODevice *device)
{
    return outcome(writeGeoJson(drawing, options.decimals, device));
}

Written asTopoJson(const Drawing &drawing, const WriteOptions &options, QIODevice *device)
{
    return outcome(writeTopoJson(drawing, options.decimals, device));
}

QString tooLargePicture(const Drawing &drawing, const WriteOptions &options)
{
    const Frame frame = frameOf(drawing);
    const double side = std::ceil(std::max(frame.width, frame.height) * options.scale);
    if (side <= kLargestPictureSide)
        return QString();
    return QString::fromLatin1("a picture of more than %1 pixels a side").arg(kLargestPictureSide);
}

} // namespace

const std::vector<Format> &allFormats()
{
    static const std::vector<Format> formats = {
        { "svg", "svg", "Scalable Vector Graphics",
          kFillsAreas | kGroupsLayers | kCutsAreasOut | kHasUnits | kRoundsNumbers | kHasGradients,
          asSvg, nullptr, kSvgBeginning },
        { "dxf", "dxf", "drawing exchange of CAD programs",
          kHasUnits | kChoosesCurves | kDrawsLines, asDxf, nullptr, kDxfBeginning },
        { "pdf", "pdf", "a page of the image's physical size",
          kFillsAreas | kGroupsLayers | kCutsAreasOut | kHoldsPages | kHasGradients, asPdf, nullptr,
          kPdfBeginning },
        { "png", "png", "a preview in pixels",
          kFillsAreas | kCutsAreasOut | kIsRaster | kHasGradients, asPng, tooLargePicture,
          nullptr },
        { "json", "json", "the drawing without loss, to be read again",
          kCutsAreasOut | kHasUnits | kHasGradients | kKeepsAll | kHasChains, asJson, nullptr,
          kJsonBeginning },
        { "geojson", "geojson", "areas for maps, cut out of each other",
          kHasUnits | kRoundsNumbers | kIsAMap | kDrawsLines, asGeoJson, nullptr,
          kGeoJsonBeginning },
        { "topojson", "topojson", "the same, every boundary between two areas once",
          kHasUnits | kRoundsNumbers | kIsAMap | kDrawsLines, asTopoJson, nullptr,
          kTopoJsonBeginning },
    };
    return formats;
}

const Format *findFormat(const std::string &name)
{
    for (const Format &format : allFormats()) {
        if (name == format.name)
            return &format;
    }
    return nullptr;
}

const Format *formatOfSuffix(const QString &suffix)
{
    for (const Format &format : allFormats()) {
        if (suffix.compare(QLatin1String(format.suffix), Qt::CaseInsensitive) == 0)
            return &format;
    }
    return nullptr;
}

QString namesOfFormats()
{
    QStringList names;
    for (const Format &format : allFormats())
        names.append(QLatin1String(format.name));
    return names.join(QLatin1String(", "));
}

} // namespace ztrace
