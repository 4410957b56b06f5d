// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ContactSheet.h"

#include "Looks.h"
#include "Scenes.h"
#include "platform/QtDefaults.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTextStream>

namespace {

constexpr QSize Cell(556, 341);
constexpr int Gap = 14;
constexpr int Head = 28;

bool WritePage(const QDir &folder)
{
    QFile file(folder.filePath(QStringLiteral("index.html")));
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    QTextStream page(&file);
    UseUtf8(page);
    page << "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>Dialogs</title>\n"
            "<style>body { font-family: sans-serif; background: #c9cdd1; } th { padding: 8px; }\n"
            "img { width: 556px; }</style>\n</head>\n<body>\n<table>\n<tr><th></th>";
    for (const Look &look : AllLooks()) {
        page << "<th>" << look.title << "</th>";
    }
    page << "</tr>\n";
    for (const Scene &scene : AllScenes()) {
        page << "<tr><th>" << scene.title << "</th>";
        for (const Look &look : AllLooks()) {
            const QString name = PictureName(QLatin1String(look.name), QLatin1String(scene.name));
            page << "<td><a href=\"" << name << "\"><img src=\"" << name << "\"></a></td>";
        }
        page << "</tr>\n";
    }
    page << "</table>\n</body>\n</html>\n";
    page.flush();
    return file.flush();
}

bool WriteSheet(const QDir &folder)
{
    const QList<Look> &looks = AllLooks();
    const QList<Scene> &scenes = AllScenes();
    QImage sheet(Gap + looks.size() * (Cell.width() + Gap),
                 Head + scenes.size() * (Cell.height() + Head), QImage::Format_RGB32);
    sheet.fill(QColor(0xc9, 0xcd, 0xd1));
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    bool complete = true;
    for (int row = 0; row < scenes.size(); ++row) {
        for (int column = 0; column < looks.size(); ++column) {
            const QPoint corner(Gap + column * (Cell.width() + Gap),
                                Head + row * (Cell.height() + Head));
            const QImage image(folder.filePath(
                PictureName(QLatin1String(looks[column].name), QLatin1String(scenes[row].name))));
            complete = complete && !image.isNull();
            painter.drawImage(QRect(corner, Cell), image);
            painter.drawText(corner - QPoint(0, 8),
                             QStringLiteral("%1, %2").arg(QString::fromUtf8(scenes[row].title),
                                                          QString::fromUtf8(looks[column].title)));
        }
    }
    painter.end();
    return sheet.save(folder.filePath(QStringLiteral("contact-sheet.png"))) && complete;
}

} // namespace

QString PictureName(const QString &look, const QString &scene)
{
    return QStringLiteral("%1-%2.png").arg(scene, look);
}

bool WriteContactSheet(const QDir &folder)
{
    return WritePage(folder) && WriteSheet(folder);
}
