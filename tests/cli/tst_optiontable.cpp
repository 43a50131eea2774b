// (c) the ztrace developers. Licence: see LICENSE.
//
// The table of options: that it is complete and agrees with the settings, and what its kinds of
// values take.
#include "cli/failure.h"
#include "cli/help.h"
#include "cli/manuals.h"
#include "cli/options.h"
#include "cli/suggest.h"

#include "drawing/formats.h"

#include <QtTest>

#include <set>

using namespace ztrace;

namespace {

// What the options set, as one text.
std::string stateOf(const Settings &s)
{
    std::string state;
    const auto add = [&state](double value) { state += shortText(value) + ' '; };
    for (double value : { double(s.style.byLayer),
                          double(s.style.stroked),
                          s.style.strokeWidth,
                          double(s.decimals.value_or(-9)),
                          double(s.snap),
                          s.fit ? double(*s.fit) : -1.0,
                          double(s.strokes),
                          double(s.edges),
                          s.scale,
                          double(s.dxf.curves),
                          s.dxf.tolerance,
                          double(s.dxf.join),
                          double(s.dxf.version),
                          s.dpi.value_or(0.0),
                          double(s.unit),
                          double(s.method.value_or(Method::Raw)),
                          double(s.seed),
                          double(s.raw),
                          double(s.colors.value_or(-1)),
                          s.detail,
                          double(s.gradients),
                          double(s.noGradients),
                          double(s.background.value_or(0u)),
                          double(s.threshold),
                          double(s.fixedThreshold),
                          double(s.deskew),
                          double(s.despeckle),
                          double(s.page),
                          double(s.upsample),
                          s.minPath.value_or(-1.0),
                          s.tolerance.value_or(-1.0),
                          s.curveTolerance.value_or(-1.0),
                          double(s.noFrame),
                          double(s.seams),
                          double(s.transparent),
                          double(s.stats),
                          double(s.json),
                          double(s.quiet),
                          double(s.progress),
                          s.maxPixels,
                          s.maxMemory,
                          s.timeLimit.value_or(-1.0),
                          double(s.overwrite),
                          double(s.noClobber),
                          double(s.onlyColours.size()),
                          double(s.palette.size()),
                          double(s.engine.size()),
                          double(s.outputs.size()),
                          double(s.batch.recursive),
                          double(s.batch.patterns.size()),
                          double(s.batch.lists.size()),
                          double(s.batch.manifests.size()),
                          double(s.batch.formats.size()),
                          double(s.batch.jobs),
                          s.batch.memoryLimit,
                          double(s.batch.retryFailed),
                          double(s.batch.dryRun),
                          double(s.batch.failFast),
                          double(s.batch.check),
                          s.batch.flagBelow,
                          double(s.batch.chunk),
                          double(s.batch.chunks),
                          double(s.batch.leases),
                          double(s.batch.watch.size()),
                          double(s.pages.size()),
                          double(s.pages.front().second) })
        add(value);
    state += s.batch.out + ' ' + s.batch.names + ' ' + s.batch.results + ' ' + s.batch.report + ' '
        + s.batch.csv + ' ' + s.batch.premis + ' ';
    return state + s.preset + ' ' + s.format + ' ' + s.config;
}

// A value that the option takes and that is not its default.
std::string anyValueOf(const Option &option)
{
    switch (option.value.kind) {
    case OptionValue::Flag:
        return "true";
    case OptionValue::Whole:
    case OptionValue::Number:
        return shortText(std::min(option.value.most, option.value.least + 2.0));
    case OptionValue::Word:
        return option.value.words.front() == option.standard ? option.value.words.back()
                                                             : option.value.words.front();
    case OptionValue::Colour:
    case OptionValue::Palette:
        return "#123456";
    case OptionValue::Assignment:
        return option.value.words.front() + "=7";
    case OptionValue::PresetName:
    case OptionValue::File:
    case OptionValue::Action:
        break;
    }
    return "name";
}

} // namespace

class tst_OptionTable : public QObject
{
    Q_OBJECT

private slots:
    void namesAreThereOnce();
    void everyOptionIsTold_data();
    void everyOptionIsTold();
    void everyOptionStoresSomething_data() { everyOptionIsTold_data(); }
    void everyOptionStoresSomething();
    void defaultsAreThoseOfTheSettings_data() { everyOptionIsTold_data(); }
    void defaultsAreThoseOfTheSettings();
    void valuesOutOfRangeAreRefused_data() { everyOptionIsTold_data(); }
    void valuesOutOfRangeAreRefused();
    void wordsMeanWhatTheyName();
    void coloursAndOutlinesAreKeptAsSaid();
    void alikeWords_data();
    void alikeWords();
    void formatsAreWhole();
};

void tst_OptionTable::namesAreThereOnce()
{
    std::set<std::string> names;
    std::set<char> shortNames;
    for (const Option &option : allOptions()) {
        QVERIFY2(names.insert(option.name).second, option.name.c_str());
        QVERIFY(option.shortName == 0 || shortNames.insert(option.shortName).second);
        QCOMPARE(findOption(option.name), &option);
        if (option.shortName)
            QCOMPARE(findOption(option.shortName), &option);
    }
    QVERIFY(!findOption("none"));
    QVERIFY(!findOption('Z'));
}

void tst_OptionTable::everyOptionIsTold_data()
{
    QTest::addColumn<int>("at");
    for (std::size_t i = 0; i < allOptions().size(); ++i)
        QTest::newRow(allOptions()[i].name.c_str()) << static_cast<int>(i);
}

void tst_OptionTable::everyOptionIsTold()
{
    QFETCH(int, at);
    const Option &option = allOptions()[static_cast<std::size_t>(at)];
    QVERIFY(!option.help.empty());
    const std::string name = "--" + option.name;
    std::string escaped = "\\-\\-" + option.name;
    for (std::size_t dash = escaped.find('-', 4); dash != std::string::npos;
         dash = escaped.find('-', dash + 2))
        escaped.insert(dash, "\\");
    QVERIFY(helpText(80).find(name) != std::string::npos);
    QVERIFY2(manPage().find("\\fB" + escaped + "\\fR") != std::string::npos, escaped.c_str());
    QVERIFY(bashCompletion().find(name + '\n') != std::string::npos
            || bashCompletion().find(name + '"') != std::string::npos);
    QVERIFY(zshCompletion().find(name) != std::string::npos);
    QVERIFY(markdownTable(option.group).find('`' + name) != std::string::npos
            || markdownTable(option.group).find(name + '`') != std::string::npos
            || markdownTable(option.group).find(name + ' ') != std::string::npos);
}

void tst_OptionTable::everyOptionStoresSomething()
{
    QFETCH(int, at);
    const Option &option = allOptions()[static_cast<std::size_t>(at)];
    if (option.isAction())
        return;
    Settings settings;
    storeOption(option, anyValueOf(option), &settings);
    QVERIFY2(stateOf(settings) != stateOf(Settings()), anyValueOf(option).c_str());
}

void tst_OptionTable::defaultsAreThoseOfTheSettings()
{
    QFETCH(int, at);
    const Option &option = allOptions()[static_cast<std::size_t>(at)];
    if (option.standard.empty())
        return;
    Settings settings;
    storeOption(option, option.standard, &settings);
    QCOMPARE(QString::fromStdString(stateOf(settings)),
             QString::fromStdString(stateOf(Settings())));
}

void tst_OptionTable::valuesOutOfRangeAreRefused()
{
    QFETCH(int, at);
    const Option &option = allOptions()[static_cast<std::size_t>(at)];
    const OptionValue &value = option.value;
    std::vector<std::string> wrong;
    if (value.kind == OptionValue::Whole || value.kind == OptionValue::Number) {
        wrong = { "nonsense", "", "nan", shortText(value.least - 1.0) };
        if (value.most < 1e9)
            wrong.push_back(shortText(value.most + 1.0));
    } else if (value.kind == OptionValue::Word || value.kind == OptionValue::Colour
               || value.kind == OptionValue::Assignment) {
        wrong = { "nonsense", "" };
    }
    for (const std::string &text : wrong) {
        Settings settings;
        try {
            storeOption(option, text, &settings);
            QFAIL(text.c_str());
        } catch (const Failure &failure) {
            QCOMPARE(failure.code, kWrongUsage);
            QVERIFY(std::string(failure.what()).find("--" + option.name) == 0);
        }
    }
}

void tst_OptionTable::wordsMeanWhatTheyName()
{
    Settings settings;
    storeOption(*findOption("units"), "IN", &settings);
    QCOMPARE(settings.unit, Unit::Inch);
    storeOption(*findOption("dxf-version"), "r12", &settings);
    QCOMPARE(settings.dxf.version, DxfVersion::R12);
    storeOption(*findOption("dxf-curves"), "polyline", &settings);
    QCOMPARE(settings.dxf.curves, DxfCurves::Polyline);
    storeOption(*findOption("method"), "blend", &settings);
    QCOMPARE(*settings.method, Method::Blend);
    storeOption(*findOption("threshold"), "Otsu", &settings);
    QCOMPARE(settings.threshold, Threshold::Otsu);
    storeOption(*findOption("threshold"), "17", &settings);
    QCOMPARE(settings.threshold, Threshold::Fixed);
    QCOMPARE(settings.fixedThreshold, 17);
    storeOption(*findOption("page"), "all", &settings);
    QCOMPARE(settings.page, 0);
    storeOption(*findOption("no-seams"), "true", &settings);
    QVERIFY(!settings.seams);
}

void tst_OptionTable::coloursAndOutlinesAreKeptAsSaid()
{
    for (const Option &option : allOptions()) {
        if (option.isAction())
            continue;
        Settings settings;
        storeOption(option, anyValueOf(option), &settings);
        const bool isKept = settings.said.count(option.name) == 1;
        QCOMPARE(isKept, option.group == Group::Colours || option.group == Group::Outlines);
    }
}

void tst_OptionTable::alikeWords_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("meant");
    QTest::newRow("a letter too few") << "colrs"
                                      << "colors";
    QTest::newRow("another spelling") << "colour"
                                      << "colors";
    QTest::newRow("swapped letters") << "scael"
                                     << "scale";
    QTest::newRow("the beginning of one") << "decim"
                                          << "decimals";
    QTest::newRow("the beginning of several") << "dxf"
                                              << "";
    QTest::newRow("nothing like any") << "resolution"
                                      << "";
    QTest::newRow("too short to tell") << "x"
                                       << "";
    QTest::newRow("nothing") << ""
                             << "";
}

void tst_OptionTable::alikeWords()
{
    QFETCH(QString, typed);
    QFETCH(QString, meant);
    QCOMPARE(QString::fromStdString(mostAlike(typed.toStdString(), optionNames())), meant);
}

void tst_OptionTable::formatsAreWhole()
{
    QCOMPARE(namesOfFormats(), QString("svg, dxf, pdf, png, json, geojson, topojson"));
    for (const Format &format : allFormats()) {
        QVERIFY(format.write);
        QCOMPARE(findFormat(format.name), &format);
        QCOMPARE(formatOfSuffix(QString::fromLatin1(format.suffix).toUpper()), &format);
    }
    // One that is not registered is not another one.
    QVERIFY(!findFormat("gif"));
    QVERIFY(!findFormat(""));
    QVERIFY(!formatOfSuffix(QString()));
}

QTEST_GUILESS_MAIN(tst_OptionTable)
#include "tst_optiontable.moc"
