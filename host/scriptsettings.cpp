// (c) the ztrace developers. Licence: see LICENSE.
#include "scriptsettings.h"

#include "cli/failure.h"
#include "cli/options.h"
#include "cli/presets.h"
#include "cli/values.h"

#include <QScriptEngine>
#include <QScriptValueIterator>
#include <QStringList>

#include <cmath>

namespace {

using namespace ztrace;

[[noreturn]] void refuse(const std::string &text)
{
    throw Failure(kWrongUsage, text);
}

// "minPath" as the table has it: "min-path".
std::string longName(const QString &name)
{
    QString dashed;
    for (const QChar letter : name) {
        if (letter >= QLatin1Char('A') && letter <= QLatin1Char('Z') && !dashed.isEmpty())
            dashed += QLatin1Char('-') + letter.toLower();
        else
            dashed += letter;
    }
    return dashed.toStdString();
}

// What the command line would have for it. Whole numbers have no exponent.
std::string optionText(const std::string &option, const QScriptValue &value)
{
    const double kWholeBelow = 1e15;
    if (value.isString() || value.isBool())
        return value.toString().toStdString();
    if (!value.isNumber())
        refuse(option + ": the value must be a text, a number, true or false, or a list of them");
    const double number = value.toNumber();
    if (std::abs(number) < kWholeBelow && number == std::floor(number))
        return std::to_string(static_cast<long long>(number));
    return shortText(number);
}

std::vector<std::string> optionTexts(const std::string &option, const QScriptValue &value)
{
    if (!value.isArray())
        return { optionText(option, value) };
    std::vector<std::string> texts;
    const quint32 count = value.property(QLatin1String("length")).toUInt32();
    for (quint32 i = 0; i < count; ++i)
        texts.push_back(optionText(option, value.property(i)));
    return texts;
}

// The members that a script has said, in the order of the object; stops where a getter has raised
// an error.
template<typename Use>
void forEachMember(const QScriptValue &object, Use use)
{
    QStringList names;
    QScriptValueIterator it(object);
    while (it.hasNext()) {
        it.next();
        if (!(it.flags() & QScriptValue::SkipInEnumeration))
            names.append(it.name());
    }
    for (const QString &name : names) {
        const QScriptValue value = object.property(name);
        if (object.engine()->hasUncaughtException())
            return;
        if (!value.isUndefined())
            use(name, value);
    }
}

void addEngineOptions(const QScriptValue &object, std::vector<FileSetting> *list)
{
    if (!zelvora::isOptions(object))
        refuse("--set: the value must be an object with the engine's options, { ltres: 1 }");
    forEachMember(object, [list](const QString &name, const QScriptValue &value) {
        FileSetting setting;
        setting.name = "set";
        setting.engineOption = name.toStdString();
        setting.values = { optionText("--set " + setting.engineOption, value) };
        list->push_back(setting);
    });
}

const Option &optionOfScripts(const std::string &name, zelvora::OptionsOf which)
{
    const Option *option = findOption(name);
    if (!option)
        refuse(noSuchOption(name));
    if (!option->inScripts)
        refuse("--" + name + " is for the command line alone");
    if (which == zelvora::OptionsOf::Writing && option->group != Group::Output)
        refuse("--" + name + " changes nothing of a drawing that is written");
    return *option;
}

} // namespace

bool zelvora::isOptions(const QScriptValue &value)
{
    if (value.isUndefined())
        return true;
    return value.isObject() && !value.isArray() && !value.isFunction() && !value.isVariant()
        && !value.isDate() && !value.isRegExp();
}

std::set<std::string> zelvora::storeOptions(const QScriptValue &object, OptionsOf which,
                                            Settings *settings)
{
    std::vector<FileSetting> list;
    std::set<std::string> names;
    std::set<std::string> off; // flags that are false
    if (!object.isObject())
        return names;
    forEachMember(object, [&](const QString &member, const QScriptValue &value) {
        const Option &option = optionOfScripts(longName(member), which);
        if (!names.insert(option.name).second)
            refuse("--" + option.name + " is given more than once");
        if (option.value.kind == OptionValue::Assignment) {
            addEngineOptions(value, &list);
            return;
        }
        FileSetting setting;
        setting.name = option.name;
        setting.values = optionTexts("--" + option.name, value);
        if (option.isFlag() && value.isBool() && !value.toBool())
            off.insert(option.name);
        list.push_back(setting);
    });
    std::set<std::string> said;
    if (object.engine()->hasUncaughtException())
        return said;
    applySettings(list, std::string(), &said, settings);
    for (const std::string &name : off)
        said.erase(name);
    return said;
}
