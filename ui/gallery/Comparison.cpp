// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Comparison.h"

#include <QFile>
#include <QImage>

namespace {

QMap<QString, QByteArray> PicturesIn(const QDir &folder)
{
    QMap<QString, QByteArray> files;
    const QStringList names = folder.entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        QFile file(folder.filePath(name));
        if (name != QLatin1String("contact-sheet.png") && file.open(QIODevice::ReadOnly)) {
            files.insert(name, file.readAll());
        }
    }
    return files;
}

/// How a picture changed; empty when it shows the same.
QString Change(const QByteArray &formerFile, const QByteArray &file)
{
    const QImage former = QImage::fromData(formerFile).convertToFormat(QImage::Format_ARGB32);
    const QImage image = QImage::fromData(file).convertToFormat(QImage::Format_ARGB32);
    if (former.size() != image.size()) {
        return QStringLiteral("another size");
    }
    int different = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            different += image.pixel(x, y) != former.pixel(x, y);
        }
    }
    if (different == 0) {
        return {};
    }
    const double share = 100.0 * different / (double(image.width()) * image.height());
    return QStringLiteral("%1 % of its pixels").arg(QString::number(qMax(share, 0.01), 'f', 2));
}

} // namespace

FormerPictures::FormerPictures(const QDir &folder) : m_files(PicturesIn(folder)) {}

QStringList FormerPictures::differences(const QDir &folder) const
{
    QStringList lines;
    const QMap<QString, QByteArray> files = PicturesIn(folder);
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const auto former = m_files.constFind(file.key());
        if (former == m_files.cend()) {
            lines << QStringLiteral("new      %1").arg(file.key());
        } else if (const QString change = Change(*former, *file); !change.isEmpty()) {
            lines << QStringLiteral("changed  %1 (%2)").arg(file.key(), change);
        }
    }
    for (auto former = m_files.cbegin(); former != m_files.cend(); ++former) {
        if (!files.contains(former.key())) {
            lines << QStringLiteral("gone     %1").arg(former.key());
        }
    }
    return lines;
}
