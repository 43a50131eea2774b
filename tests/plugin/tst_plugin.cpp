// (c) the ztrace developers. Licence: see LICENSE.
//
// The built library through the toolkit's own loader, as the application opens it.
//
// ZTRACE_PLUGIN_FILE is the library: of the build tree, or of an installation in a staging folder.
#include "ZPluginInterface.h"

#include <QLoggingCategory>
#include <QPluginLoader>
#include <QPointer>
#include <QProcess>
#include <QScriptEngine>
#include <QtTest>

class tst_Plugin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void instanceIsOneObject();
    void deletedInstanceIsMadeAnew();
    void casts();
    void metaObject();
    void lifeCycle();
    void infoRecord();
    void enginesAreApart();
    void classWorksFromThePlugin();
    void verificationText();
    void sections();
    void exportedSymbols();
    void neededLibraries();

private:
    QObject *instance() { return QPluginLoader(fileName).instance(); }
    QByteArray output(const QString &program, const QStringList &arguments);

    QString fileName;
};

void tst_Plugin::initTestCase()
{
    QLoggingCategory::setFilterRules("default.debug=false");
    fileName = QString::fromLocal8Bit(qgetenv("ZTRACE_PLUGIN_FILE"));
    QVERIFY2(QFileInfo(fileName).isAbsolute(), "ZTRACE_PLUGIN_FILE");
    QPluginLoader loader(fileName);
    QVERIFY2(loader.instance(), qPrintable(loader.errorString()));
}

void tst_Plugin::instanceIsOneObject()
{
    QObject *object = instance();
    QVERIFY(object);
    QCOMPARE(instance(), object);

    typedef QObject *(*Instance)();
    const Instance entry
        = reinterpret_cast<Instance>(QLibrary(fileName).resolve("qt_plugin_instance"));
    QVERIFY(entry);
    QCOMPARE(entry(), object);
    QCOMPARE(entry(), object);
}

void tst_Plugin::deletedInstanceIsMadeAnew()
{
    const QPointer<QObject> first = instance();
    delete first.data();
    QVERIFY(first.isNull());
    QObject *second = instance();
    QVERIFY(second);
    QCOMPARE(instance(), second);
    QVERIFY(qobject_cast<ZPluginInterface *>(second)->init());
}

void tst_Plugin::casts()
{
    QObject *object = instance();
    void *const interface = qobject_cast<ZPluginInterface *>(object);
    QVERIFY(interface);
    QVERIFY(interface != static_cast<void *>(object));
    QCOMPARE(object->qt_metacast("ZTracePlugin"), static_cast<void *>(object));
    QCOMPARE(object->qt_metacast("ZPluginBase"), static_cast<void *>(object));
    QCOMPARE(object->qt_metacast("QObject"), static_cast<void *>(object));
    QCOMPARE(object->qt_metacast("ZPluginInterface"), interface);
    QCOMPARE(object->qt_metacast(ZPluginInterface_iid), interface);
    QCOMPARE(object->qt_metacast("ZPlugin"), static_cast<void *>(0));
    QCOMPARE(object->qt_metacast("ztraceplugin"), static_cast<void *>(0));
    QCOMPARE(object->qt_metacast(ZPluginInterface_iid "0"), static_cast<void *>(0));
    QCOMPARE(object->qt_metacast("QWidget"), static_cast<void *>(0));
    QCOMPARE(object->qt_metacast(0), static_cast<void *>(0));
}

void tst_Plugin::metaObject()
{
    const QMetaObject *own = instance()->metaObject();
    QCOMPARE(own->className(), "ZTracePlugin");
    QCOMPARE(own->superClass()->className(), "ZPluginBase");
    QCOMPARE(own->superClass()->superClass()->className(), "QObject");
    QCOMPARE(own->methodCount(), QObject::staticMetaObject.methodCount());
    QCOMPARE(own->propertyCount(), QObject::staticMetaObject.propertyCount());
}

void tst_Plugin::lifeCycle()
{
    ZPluginInterface *plugin = qobject_cast<ZPluginInterface *>(instance());
    QVERIFY(plugin->init());
    plugin->initTranslations();
    plugin->postInit(ZPluginInterface::AllInitialized);
    plugin->postInit(ZPluginInterface::SomeRefused);
    plugin->uninit(false);
    plugin->uninit(true);
    QVERIFY(plugin->init());
}

void tst_Plugin::infoRecord()
{
    ZPluginInfo expected;
    expected["QtVersion"] = QString(qVersion());
    expected["Version"] = QString("3.27.8");
    expected["ID"] = QString("TRACE");
    expected["Name"] = QString("Zelvora Professional");
    expected["Description"] = QString("Bitmap vectorization.");
    expected["License"] = QString("Proprietary");
    expected["URL"] = QString("https://zelvora.example/addons/trace");
    const ZPluginInfo info = qobject_cast<ZPluginInterface *>(instance())->getPluginInfo();
    QCOMPARE(info, expected);
    for (const QVariant &value : info)
        QCOMPARE(value.type(), QVariant::String);
}

void tst_Plugin::enginesAreApart()
{
    ZPluginInterface *plugin = qobject_cast<ZPluginInterface *>(instance());
    QScriptEngine first;
    QScriptEngine second;
    QScriptEngine without;
    plugin->initScriptExtensions(first);
    plugin->initScriptExtensions(second);
    const QString make("var t = new ZTraceBitmap(); var n = t.getClassName(); t.destroy(); n");
    QCOMPARE(first.evaluate(make).toString(), QString("ZTraceBitmap"));
    QCOMPARE(second.evaluate(make).toString(), QString("ZTraceBitmap"));
    QCOMPARE(without.evaluate("typeof ZTraceBitmap").toString(), QString("undefined"));

    first.evaluate("ZTraceBitmap.prototype.mark = 1");
    QCOMPARE(first.evaluate("ZTraceBitmap.prototype.mark").toString(), QString("1"));
    QCOMPARE(second.evaluate("ZTraceBitmap.prototype.mark").toString(), QString("undefined"));

    // Once more in the same engine: the class is registered anew.
    plugin->initScriptExtensions(first);
    QCOMPARE(first.evaluate("ZTraceBitmap.prototype.hasOwnProperty('mark')").toString(),
             QString("false"));
    QCOMPARE(first.evaluate(make).toString(), QString("ZTraceBitmap"));
}

void tst_Plugin::classWorksFromThePlugin()
{
    QScriptEngine engine;
    qobject_cast<ZPluginInterface *>(instance())->initScriptExtensions(engine);
    QCOMPARE(engine.evaluate("ZTraceBitmap.prototype.toString()").toString(),
             QString("ZTraceBitmap(0x0)"));
    QImage image(16, 16, QImage::Format_ARGB32);
    image.fill(0xFF000000u);
    engine.globalObject().setProperty("img", engine.newVariant(QVariant(image)));
    const QScriptValue list
        = engine.evaluate("var t = new ZTraceBitmap(); var l = t.trace(img); t.destroy(); l");
    QVERIFY2(list.isArray(), qPrintable(list.toString()));
    QCOMPARE(list.property("length").toInt32(), 1);
    QCOMPARE(list.property(0).toVariant().typeName(), "ZPolyline");
}

void tst_Plugin::verificationText()
{
    typedef const char *(*Query)();
    const Query query
        = reinterpret_cast<Query>(QLibrary(fileName).resolve("qt_plugin_query_verification_data"));
    QVERIFY(query);
    const char *const text = "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
                             "version=4.8.4\n"
                             "debug=false\n"
                             "buildkey=x86_64 linux g++-4 full-config";
    QCOMPARE(query(), text);

    // The older loader reads the file without loading it.
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains(QByteArray(text, int(qstrlen(text)) + 1)));
}

QByteArray tst_Plugin::output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished() && process.exitCode() == 0
        ? process.readAllStandardOutput()
        : QByteArray("failed: ") + process.readAllStandardError();
}

void tst_Plugin::sections()
{
    const QByteArray list = output("readelf", QStringList() << "-SW" << fileName);
    QVERIFY2(list.contains(" .qtplugin "), list.constData());
    QVERIFY2(list.contains(" .qtmetadata "), list.constData());
    const QByteArray text = output("readelf",
                                   QStringList() << "-p"
                                                 << ".qtplugin" << fileName);
    QVERIFY2(text.contains("version=4.8.4"), text.constData());
    QVERIFY2(text.contains("buildkey=x86_64 linux g++-4 full-config"), text.constData());
}

void tst_Plugin::exportedSymbols()
{
    const QByteArray list = output("nm",
                                   QStringList() << "-D"
                                                 << "--defined-only"
                                                 << "-P" << fileName);
    QStringList names;
    for (const QByteArray &line : list.split('\n')) {
        if (!line.isEmpty())
            names.append(QString::fromLatin1(line.split(' ').first()));
    }
    names.sort();
    QCOMPARE(names,
             QStringList() << "qt_plugin_instance"
                           << "qt_plugin_query_metadata"
                           << "qt_plugin_query_verification_data");
}

// What it takes from the host it takes by the host's libraries, not by copies of their code.
void tst_Plugin::neededLibraries()
{
    const QByteArray needed = output("readelf", QStringList() << "-dW" << fileName);
    QVERIFY2(needed.contains("[libzelvoraentity.so.1]"), needed.constData());
    QVERIFY2(needed.contains("[libzelvoraecmaapi.so.1]"), needed.constData());
    QVERIFY2(!needed.contains("Widgets"), needed.constData());
}

QTEST_GUILESS_MAIN(tst_Plugin)
#include "tst_plugin.moc"
