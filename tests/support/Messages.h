// (c) the ztrace developers. Licence: see LICENSE.
//
// The toolkit's debug output in tests: switched off or on, and caught line by line.
#ifndef MESSAGES_H
#define MESSAGES_H

#include <QDebug>
#include <QLoggingCategory>
#include <QStringList>
#include <QtGlobal>

namespace ztrace {

inline void switchDebugOutput(bool on)
{
    QLoggingCategory::setFilterRules(on ? "default.debug=true" : "default.debug=false");
}

// Catches every message from here to the end of the scope, with debug output switched on; then the
// handler of before is back and debug output is off.
class CaughtMessages
{
public:
    CaughtMessages()
    {
        caught().clear();
        previous = qInstallMessageHandler(&CaughtMessages::handle);
        switchDebugOutput(true);
    }
    ~CaughtMessages()
    {
        switchDebugOutput(false);
        qInstallMessageHandler(previous);
    }
    CaughtMessages(const CaughtMessages &) = delete;
    CaughtMessages &operator=(const CaughtMessages &) = delete;

    QStringList lines() const { return caught(); }

    // The lines that begin with `label`.
    QStringList lines(const QString &label) const
    {
        QStringList result;
        for (const QString &line : caught()) {
            if (line.startsWith(label))
                result.append(line);
        }
        return result;
    }

private:
    static QStringList &caught()
    {
        static QStringList lines;
        return lines;
    }
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        const bool isDefault
            = context.category == nullptr || qstrcmp(context.category, "default") == 0;
        caught().append(type == QtDebugMsg && isDefault ? text : "not a plain debug line: " + text);
    }

    QtMessageHandler previous;
};

// What the toolkit's debug stream makes of a label and a value.
template<typename T>
QString debugLine(const char *label, const T &value)
{
    QString text;
    {
        QDebug stream(&text);
        stream << label << value;
    }
    return text.endsWith(' ') ? text.left(text.size() - 1) : text;
}

} // namespace ztrace

#endif
