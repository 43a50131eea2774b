// (c) the ztrace developers. Licence: see LICENSE.
//
// Exact comparison of nested lists of numbers and of polylines, whatever their container is.
//
// difference(actual, expected) is empty when both are the same, and otherwise names the first
// place where they are not: "[2][0]: 5 against 6".  Doubles are compared by their bits (so a
// zero's sign counts); only any two not-a-numbers are the same.
#ifndef COMPARISON_H
#define COMPARISON_H

#include <cmath>
#include <cstring>
#include <type_traits>
#include <vector>

#include <QList>
#include <QString>
#include <QVector>

#include "Reference.h"
#include "ZPolyline.h"

namespace ztrace {

inline QString difference(double actual, double expected)
{
    if (std::isnan(actual) && std::isnan(expected))
        return QString();
    if (std::memcmp(&actual, &expected, sizeof actual) == 0)
        return QString();
    return QString(": %1 against %2").arg(actual, 0, 'g', 17).arg(expected, 0, 'g', 17);
}

template<typename A, typename B>
std::enable_if_t<std::is_integral_v<A> && std::is_integral_v<B>, QString> difference(A actual,
                                                                                     B expected)
{
    if (static_cast<long long>(actual) == static_cast<long long>(expected))
        return QString();
    return QString(": %1 against %2")
        .arg(static_cast<long long>(actual))
        .arg(static_cast<long long>(expected));
}

template<typename A, typename B>
std::enable_if_t<!std::is_arithmetic_v<A> && !std::is_arithmetic_v<B>, QString>
difference(const A &actual, const B &expected)
{
    const auto size = static_cast<long long>(actual.size());
    if (size != static_cast<long long>(expected.size()))
        return QString(" size") + difference(size, static_cast<long long>(expected.size()));
    auto other = expected.begin();
    long long index = 0;
    for (const auto &item : actual) {
        const QString found = difference(item, *other);
        if (!found.isEmpty())
            return QString("[%1]").arg(index) + found;
        ++other;
        ++index;
    }
    return QString();
}

QString difference(const ZVector &actual, const ZVector &expected);
QString difference(const ZVector &actual, const reference::Point &expected);
QString difference(const ZPolyline &actual, const ZPolyline &expected);
QString difference(const ZPolyline &actual, const reference::Polyline &expected);

// The same nested numbers in the toolkit's containers, and the other way round.
template<typename T>
struct Converted
{
    using Qt = T;
};

template<>
struct Converted<signed char>
{
    using Qt = char;
};

template<typename T>
struct Converted<std::vector<T>>
{
    using Qt = QVector<typename Converted<T>::Qt>;
};

template<typename T>
typename Converted<T>::Qt toQt(const T &value)
{
    return static_cast<typename Converted<T>::Qt>(value);
}

template<typename T>
typename Converted<std::vector<T>>::Qt toQt(const std::vector<T> &values)
{
    typename Converted<std::vector<T>>::Qt result;
    for (const T &value : values)
        result.append(toQt(value));
    return result;
}

} // namespace ztrace

#endif
