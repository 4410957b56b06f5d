// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/VersionCheck.h"

#include <QRegularExpression>
#include <QStringList>

#include <limits>

namespace {

constexpr quint64 MajorWeight = 1000000;
constexpr quint64 MinorWeight = 10000;
constexpr quint64 LargestMinor = MajorWeight / MinorWeight - 1;
constexpr quint64 LargestPatch = MinorWeight - 1;
constexpr quint64 LargestNumber = std::numeric_limits<int>::max();

/// The number, or one above every limit if it does not fit.
quint64 Number(const QString &digits)
{
    bool fits = false;
    const uint number = digits.toUInt(&fits);
    return fits ? number : std::numeric_limits<uint>::max();
}

} // namespace

QString NotAVersionReason(const QString &version)
{
    static const QRegularExpression pattern(QStringLiteral("\\A[0-9]+(\\.[0-9]+)*\\z"));
    if (pattern.match(version).hasMatch()) {
        return {};
    }
    return QStringLiteral("it is not made of numbers separated by dots");
}

QString LossyVersionReason(const QString &version)
{
    const QStringList parts = version.split(QLatin1Char('.'));
    if (parts.size() == 1) {
        return QStringLiteral("a version of one part counts as 0");
    }
    if (parts.size() == 2) {
        return QStringLiteral("the second part of a version of two parts does not count");
    }
    if (parts.size() > 3) {
        return QStringLiteral("what follows the third part does not count");
    }
    const quint64 minor = Number(parts.at(1));
    const quint64 patch = Number(parts.at(2));
    if (minor > LargestMinor) {
        return QStringLiteral("a second part over %1 spills into the first").arg(LargestMinor);
    }
    if (patch > LargestPatch) {
        return QStringLiteral("a third part over %1 spills into the second").arg(LargestPatch);
    }
    if (Number(parts.at(0)) * MajorWeight + minor * MinorWeight + patch > LargestNumber) {
        return QStringLiteral("its number would be over %1").arg(LargestNumber);
    }
    return {};
}
