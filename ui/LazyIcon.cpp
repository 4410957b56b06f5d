// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LazyIcon.h"

#include <QIconEngine>
#include <QPainter>
#include <QString>

#include <utility>

namespace {

class LazyIconEngine : public QIconEngine {
public:
    explicit LazyIconEngine(QString fileName) : m_fileName(std::move(fileName)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        icon().paint(painter, rect, Qt::AlignCenter, mode, state);
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return icon().pixmap(size, mode, state);
    }
    QSize actualSize(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return icon().actualSize(size, mode, state);
    }
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) const override
    {
        return icon().availableSizes(mode, state);
    }
    QIconEngine *clone() const override { return new LazyIconEngine(*this); }
    void virtual_hook(int id, void *data) override
    {
        if (id == IsNullHook) {
            *static_cast<bool *>(data) = icon().availableSizes().isEmpty();
            return;
        }
        QIconEngine::virtual_hook(id, data);
    }

private:
    const QIcon &icon() const
    {
        if (m_icon.isNull()) {
            m_icon = QIcon(m_fileName);
        }
        return m_icon;
    }

    QString m_fileName;
    mutable QIcon m_icon;
};

} // namespace

QIcon LazyIcon(const QString &fileName)
{
    return QIcon(new LazyIconEngine(fileName)); // which the icon owns
}
