// (c) the ztrace developers. Licence: see LICENSE.
#include "premis.h"

#include <QJsonArray>
#include <QSet>
#include <QXmlStreamWriter>

namespace ztrace {

namespace {

const char kSpace[] = "http://www.loc.gov/premis/v3";
const char kInstance[] = "http://www.w3.org/2001/XMLSchema-instance";

// Control letters have no place in XML.
QString clean(QString text)
{
    for (QChar &letter : text) {
        if (letter < QLatin1Char(' ') || letter == QChar(0xFFFE) || letter == QChar(0xFFFF))
            letter = QLatin1Char('?');
    }
    return text;
}

class Writer
{
public:
    explicit Writer(QIODevice *device) : xml(device) { }

    bool write(const Ledger &ledger)
    {
        xml.setAutoFormatting(true);
        xml.writeStartDocument();
        xml.writeDefaultNamespace(QLatin1String(kSpace));
        xml.writeNamespace(QLatin1String(kInstance), QLatin1String("xsi"));
        xml.writeStartElement(QLatin1String(kSpace), QLatin1String("premis"));
        xml.writeAttribute(QLatin1String("version"), QLatin1String("3.0"));
        // The order of the dictionary: objects, events, agents.
        ledger.forEach([this](const QJsonObject &line) { objects(line); });
        ledger.forEach([this](const QJsonObject &line) { event(line); });
        for (const QString &version : versions)
            agent(version);
        xml.writeEndElement();
        xml.writeEndDocument();
        return !xml.hasError();
    }

private:
    void start(const char *name)
    {
        xml.writeStartElement(QLatin1String(kSpace), QLatin1String(name));
    }
    void end() { xml.writeEndElement(); }
    void text(const char *name, const QString &value)
    {
        xml.writeTextElement(QLatin1String(kSpace), QLatin1String(name), clean(value));
    }
    void identifier(const char *what, const QString &type, const QString &value)
    {
        const QByteArray name(what);
        start((name + "Identifier").constData());
        text((name + "IdentifierType").constData(), type);
        text((name + "IdentifierValue").constData(), value);
        end();
    }

    static QString in(const QJsonObject &line, const char *name)
    {
        return line.value(QLatin1String(name)).toString();
    }

    // A picture and a drawing may have one name, below different folders; names that are no UTF-8
    // are told as they are in result lines.
    struct FileName
    {
        QString type;
        QString value;
    };

    static FileName fileName(const QJsonObject &object, const char *member, const char *type)
    {
        const QString exact = in(object, (QByteArray(member) + "Bytes").constData());
        if (exact.isEmpty())
            return { QLatin1String(type), in(object, member) };
        return { QLatin1String(type) + QLatin1String(", percent-encoded"), exact };
    }

    static FileName pictureIn(const QJsonObject &line)
    {
        return fileName(line, "path", "file name of the picture");
    }

    static FileName drawingIn(const QJsonObject &output)
    {
        return fileName(output, "file", "file name of the drawing");
    }

    void object(const FileName &name, const QString &sha, double bytes, const QString &format)
    {
        const QString key = name.type + QLatin1Char('\n') + name.value + QLatin1Char('\n') + sha;
        if (sha.isEmpty() || written.contains(key))
            return;
        written.insert(key);
        start("object");
        xml.writeAttribute(QLatin1String(kInstance), QLatin1String("type"), QLatin1String("file"));
        identifier("object", name.type, name.value);
        start("objectCharacteristics");
        start("fixity");
        text("messageDigestAlgorithm", QLatin1String("SHA-256"));
        text("messageDigest", sha);
        end();
        text("size", QString::number(bytes, 'f', 0));
        start("format");
        start("formatDesignation");
        text("formatName", format);
        end();
        end();
        end();
        end();
    }

    static QString suffixOf(const QString &name)
    {
        return name.mid(name.lastIndexOf(QLatin1Char('.')) + 1).toLower();
    }

    void objects(const QJsonObject &line)
    {
        object(pictureIn(line), in(line, "sha256"), line.value(QLatin1String("bytes")).toDouble(),
               suffixOf(in(line, "path")));
        for (const QJsonValue &value : line.value(QLatin1String("outputs")).toArray()) {
            const QJsonObject output = value.toObject();
            object(drawingIn(output), in(output, "sha256"),
                   output.value(QLatin1String("bytes")).toDouble(), in(output, "format"));
        }
    }

    void link(const FileName &name, const char *role)
    {
        start("linkingObjectIdentifier");
        text("linkingObjectIdentifierType", name.type);
        text("linkingObjectIdentifierValue", name.value);
        text("linkingObjectRole", QLatin1String(role));
        end();
    }

    static QString detailOf(const QJsonObject &line, int page)
    {
        if (isBook(line))
            return QLatin1String("putting together pages ") + in(line, "pages");
        return QString::fromLatin1("vectorization of page %1, settings %2, seed %3")
            .arg(page)
            .arg(in(line, "settings"))
            .arg(line.value(QLatin1String("seed")).toDouble(), 0, 'f', 0);
    }

    void event(const QJsonObject &line)
    {
        const int page = line.value(QLatin1String("page")).toInt(1);
        start("event");
        identifier("event", QLatin1String("local"),
                   in(line, "path") + QLatin1Char('#') + QString::number(page));
        text("eventType", QLatin1String("migration"));
        text("eventDateTime", in(line, "time"));
        start("eventDetailInformation");
        text("eventDetail", detailOf(line, page));
        end();
        start("eventOutcomeInformation");
        text("eventOutcome", isDone(line) ? QLatin1String("success") : QLatin1String("failure"));
        QString note = in(line, "error");
        for (const QJsonValue &flag : line.value(QLatin1String("flags")).toArray())
            note += QLatin1String(note.isEmpty() ? "to be looked at: " : ", ") + flag.toString();
        if (!note.isEmpty()) {
            start("eventOutcomeDetail");
            text("eventOutcomeDetailNote", note);
            end();
        }
        end();
        const QString version = in(line, "version");
        versions.insert(version);
        start("linkingAgentIdentifier");
        text("linkingAgentIdentifierType", QLatin1String("local"));
        text("linkingAgentIdentifierValue", QLatin1String("ztrace ") + version);
        end();
        if (!in(line, "sha256").isEmpty()) // else it was not read, and is no object
            link(pictureIn(line), "source");
        for (const QJsonValue &output : line.value(QLatin1String("outputs")).toArray())
            link(drawingIn(output.toObject()), "outcome");
        end();
    }

    void agent(const QString &version)
    {
        start("agent");
        identifier("agent", QLatin1String("local"), QLatin1String("ztrace ") + version);
        text("agentName", QLatin1String("ztrace"));
        text("agentType", QLatin1String("software"));
        text("agentVersion", version);
        end();
    }

    QXmlStreamWriter xml;
    QSet<QString> written;
    QSet<QString> versions;
};

} // namespace

bool writePremis(const Ledger &ledger, QIODevice *device)
{
    return Writer(device).write(ledger);
}

} // namespace ztrace
