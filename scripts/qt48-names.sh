#!/usr/bin/env bash
# Looks for what Qt 4.8 does not have in the code that must compile with it: engine/, scripting/,
# plugin/ and sdk/, or the files given. A stand-in for that toolkit's compiler, which is seldom at
# hand: it knows names, not types. Prints every place and ends with 1 when there is one.
set -u
cd "$(dirname "$0")/.." || exit 2

if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -t files < <(find engine scripting plugin sdk \( -name '*.cpp' -o -name '*.h' \) | sort)
fi
[ ${#files[@]} -gt 0 ] || { echo "no files to look at"; exit 2; }

# Branches on the toolkit's release, and the names that they guard, stand in these files alone.
branches='engine/qtcompat\.h|plugin/ZTracePlugin\.h|plugin/entrypoints\.cpp'

# Names that came with a later release.
names='QStringLiteral|QByteArrayLiteral|QStringView|QByteArrayView|QLatin1StringView
QLoggingCategory|Q_LOGGING_CATEGORY|qCDebug|qInfo|qEnvironmentVariable[A-Za-z]*|QMessageLogContext
qInstallMessageHandler|qUtf8Printable|qAsConst|qOverload|QOverload|qNextPowerOfTwo|qExchange
Q_PLUGIN_METADATA|Q_ENUM|Q_FLAG|Q_NAMESPACE|Q_FALLTHROUGH|Q_DISABLE_COPY_MOVE
Q_DECL_OVERRIDE|Q_DECL_FINAL|Q_DECL_NOTHROW|Q_DECL_RELAXED_CONSTEXPR|Q_NULLPTR|Q_REQUIRED_RESULT
QGuiApplication|QtWidgets|QtMath|QtGlobalStatic|QSaveFile|QTemporaryDir|QStandardPaths|QLockFile
QRegularExpression[A-Za-z]*|QJson[A-Za-z]*|QCommandLine[A-Za-z]*|QMimeDatabase|QCollator|QTimeZone
QPdfWriter|QPageSize|QColorSpace|QRandomGenerator|QVersionNumber|QStorageInfo|QOperatingSystemVersion
QSequentialIterable|QAssociativeIterable|QMetaEnum::fromType|QVariant::canView
pixelColor|setPixelColor|sizeInBytes|bytesPerLineF|reinterpretAsFormat|convertTo|setDevicePixelRatio
Format_RGBA8888[A-Za-z_]*|Format_RGBX8888|Format_Alpha8|Format_Grayscale[0-9]+|Format_RGBA64[A-Za-z_]*
Format_BGR[0-9]+|Format_A2[A-Z0-9_a-z]*|Format_RGB30|Format_BGR30
constFirst|constLast|keyValueBegin|keyValueEnd|constKeyValueBegin|asKeyValueRange|crbegin|crend
swapItemsAt|shrinkToFit|removeIf|erase_if|noquote|setVerbosity|asprintf|fromStdU16String
toHtmlEscaped|splitRef|chopped|localeAwareSort|qEnvironmentVariableIsEmpty'
names=$(echo "$names" | tr '\n' '|' | sed 's/|$//')

found=0
report() { # what, grep's lines
    [ -n "$2" ] || return
    echo "$1:"
    echo "$2" | sed 's/^/    /'
    found=1
}

# Code without its comments, as file:line:text.
code() { grep -nH '' "$@" | sed -E 's@//.*$@@'; }

all=$(code "${files[@]}")
elsewhere=$(echo "$all" | grep -vE "^($branches):")

report "names that Qt 4.8 does not have" \
    "$(echo "$elsewhere" | grep -E ":.*\b($names)\b")"
report "branches on the release outside of their files" \
    "$(echo "$elsewhere" | grep -E '\bQT_VERSION(_CHECK)?\b')"
report "initialiser lists for the toolkit's containers" \
    "$(echo "$all" | grep -E '\bQ(Vector|List|Set|Map|Hash|StringList|VariantList|ByteArrayList)\b(<[^;(){}]*>)?[[:space:]]*[A-Za-z_0-9]*[[:space:]]*=?[[:space:]]*\{[[:space:]]*[^[:space:]}]')"
report "functions as the target of a connection" \
    "$(echo "$all" | grep -E '\bconnect\(.*&[A-Za-z_]+::')"

# That release's moc reads plain C++98.
for file in "${files[@]}"; do
    grep -qE '^[[:space:]]*Q_OBJECT\b' "$file" || continue
    report "not for the older moc" "$(code "$file" \
        | grep -E '\b(override|final|noexcept|constexpr|nullptr|decltype|auto)\b|>>|= *(default|delete);|enum +class')"
done
exit $found
