// (c) the ztrace developers. Licence: see LICENSE.
//
// Helpers of the host's script bindings: registering methods, raising errors, and passing native
// values to scripts and back.
//
// The two conversions are templates, instantiated by each binding for its own types; the meta type
// of T* (scriptValueTo) or of T (listToScriptValue) must be declared before their first use.
#ifndef ZECMAHELPER_H
#define ZECMAHELPER_H

#include <QList>
#include <QMetaType>
#include <QScriptContext>
#include <QScriptEngine>
#include <QScriptValue>
#include <QString>
#include <QVariant>

#include "zelvora_global.h"

class ZELVORA_EXPORT ZEcmaHelper
{
public:
    // Makes `function` the property `name` of `proto`. Neither is taken into ownership.
    static void registerFunction(QScriptEngine &engine, QScriptValue *proto,
                                 QScriptEngine::FunctionSignature function, const char *name);

    // Raises a script error with `message` in the caller's script and returns the error value. A
    // second error raised in the same call takes the place of the first.
    static QScriptValue throwError(const QString &message, QScriptContext *context);

    // The T that a script value holds or leads to, or null. In this order:
    //   - the value itself holds a T* or a T,
    //   - its prototype does,
    //   - it stands in for a native object: getBaseClasses() lists class names, and the method
    //     "get" + name returns a value that holds one. The entry at index 0 is the value's own
    //     class and is not asked; an empty or missing entry ends the list.
    // The value's methods may lead here again without a script in between, whose depth the engine
    // would watch: more than 64 look-ups inside each other raise an error and find nothing. Raises
    // nothing else itself; what the value's own methods throw stays pending.
    template<class T>
    static T *scriptValueTo(QScriptValue value);

    // A script array of copies, in order, each a variant of T. Not valid without an engine.
    template<class T>
    static QScriptValue listToScriptValue(QScriptEngine *engine, const QList<T> &list);

private:
    // A look-up that asks the value's own methods, with those that it is inside of.
    class ZELVORA_EXPORT LookUp
    {
    public:
        explicit LookUp(const QScriptValue &value);
        ~LookUp();
        bool isTooDeep() const;

    private:
        Q_DISABLE_COPY(LookUp)
    };

    static QScriptValue baseClassesOf(const QScriptValue &value);
    static QString nameOfBaseClass(const QScriptValue &list, quint32 index);
    static QScriptValue baseObject(const QScriptValue &value, const QString &className);
    static bool holdsAnother(const QScriptValue &value, int pointerType);

    template<class T>
    static T *pointerCast(const QScriptValue &value);
};

// The toolkit's cast, less its traps: it goes by the types in the prototype chain, so a script that
// sets __proto__ can pass any variant off as a T, and takes a variant of nothing for a T whose name
// is not registered. The bytes that such a variant holds are no T.
template<class T>
T *ZEcmaHelper::pointerCast(const QScriptValue &value)
{
    if (holdsAnother(value, qMetaTypeId<T *>()))
        return nullptr;
    return qscriptvalue_cast<T *>(value);
}

template<class T>
T *ZEcmaHelper::scriptValueTo(QScriptValue value)
{
    T *self = pointerCast<T>(value);
    if (self || value.isNull())
        return self;
    self = pointerCast<T>(value.prototype());
    if (self)
        return self;

    const LookUp lookUp(value);
    if (lookUp.isTooDeep())
        return nullptr;
    const QScriptValue baseClasses = baseClassesOf(value);
    if (!baseClasses.isValid())
        return nullptr;
    for (quint32 i = 1;; ++i) {
        const QString name = nameOfBaseClass(baseClasses, i);
        if (name.isEmpty())
            return nullptr;
        self = pointerCast<T>(baseObject(value, name));
        if (self)
            return self;
    }
}

template<class T>
QScriptValue ZEcmaHelper::listToScriptValue(QScriptEngine *engine, const QList<T> &list)
{
    QVariantList variants;
    for (int i = 0; i < list.size(); ++i)
        variants.append(QVariant::fromValue(list.at(i)));
    return qScriptValueFromValue(engine, variants);
}

#endif
