// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateDescription.h"
#include "tests/fuzz/Require.h"

#include <QJsonDocument>
#include <QVariant>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

// The oracle: the same document read once more as generic values.
namespace {

int Number(const QVariantMap &object, const char *key)
{
    const QVariant value = object.value(QLatin1String(key));
    if (value.type() != QVariant::Double && value.type() != QVariant::LongLong) {
        return 0;
    }
    const double number = value.toDouble();
    const bool isInt = std::floor(number) == number && number >= std::numeric_limits<int>::min() &&
                       number <= std::numeric_limits<int>::max();
    return isInt ? static_cast<int>(number) : 0;
}

QString Text(const QVariantMap &object, const char *key)
{
    const QVariant value = object.value(QLatin1String(key));
    return value.type() == QVariant::String ? value.toString() : QString();
}

void RequireDecision(int host, const UpdateDescription &description)
{
    const std::int64_t ahead = std::int64_t{description.version} - host;
    const std::int64_t slack = std::int64_t{host} - description.minVersion;
    const UpdateDecision decision = DecideUpdate(host, description);
    Require((decision == UpdateDecision::NotNeeded) == (ahead <= 0), "newer versions only");
    Require((decision == UpdateDecision::Forced) == (ahead > 0 && slack <= 0),
            "forced up to the lowest version that may skip");
}

void RequireDecisions(const UpdateDescription &description)
{
    constexpr std::int64_t lowest = std::numeric_limits<int>::min();
    constexpr std::int64_t highest = std::numeric_limits<int>::max();
    for (const std::int64_t middle : {std::int64_t{0}, std::int64_t{description.version},
                                      std::int64_t{description.minVersion}, lowest, highest}) {
        for (std::int64_t host = middle - 1; host <= middle + 1; ++host) {
            if (host >= lowest && host <= highest) {
                RequireDecision(static_cast<int>(host), description);
            }
        }
    }
}

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizers look for these names.
extern "C" const char *__lsan_default_suppressions()
{
    // Qt's reader loses the value of a key that comes again, when it is an array or an object.
    return "leak:QJsonDocument::fromJson\n";
}

extern "C" const char *__asan_default_options()
{
    return "fast_unwind_on_malloc=0"; // without it the stacks end below the name above
}
// NOLINTEND(bugprone-reserved-identifier)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QString mark = QStringLiteral("untouched");
    UpdateDescription description{1, mark, mark, 2, mark};
    const bool valid = ParseUpdateDescription(content, description);

    const QVariant document = QJsonDocument::fromJson(content).toVariant();
    const QVariantMap object = document.toMap();
    if (!valid) {
        Require(object.isEmpty(), "an object with content is read");
        Require(description.version == 1 && description.minVersion == 2 &&
                    description.versionString == mark && description.folder == mark &&
                    description.downloadUrl == mark,
                "what is no description leaves the old one alone");
        return 0;
    }
    Require(document.type() == QVariant::Map, "only an object is read");
    Require(description.version == Number(object, "Version"), "Version");
    Require(description.versionString == Text(object, "VersionString"), "VersionString");
    Require(description.folder == Text(object, "Folder"), "Folder");
    Require(description.minVersion == Number(object, "MinVersion"), "MinVersion");
    Require(description.downloadUrl == Text(object, "DownloadUrl"), "DownloadUrl");
    RequireDecisions(description);
    return 0;
}
