// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LazyIcon.h"

#include <QApplication>
#include <QDataStream>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QString>
#include <QStyle>
#include <QStyleOption>

#include <utility>

namespace {

/// Does with one picture what a plain icon does, except that the picture is loaded late.
class LazyIconEngine : public QIconEngine {
public:
    explicit LazyIconEngine(QString fileName) : m_fileName(std::move(fileName)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device()->devicePixelRatioF();
        painter->drawPixmap(rect, pixmap(rect.size() * ratio, mode, state));
    }

    /// \a size is in device pixels: what asks has scaled it already.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        const QSize fitting = actualSize(size, mode, state);
        const QPixmap scaled =
            fitting == picture().size()
                ? picture()
                : picture().scaled(fitting, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (mode == QIcon::Normal) {
            return scaled;
        }
        const QStyleOption option;
        return QApplication::style()->generatedIconPixmap(mode, scaled, &option);
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        const QSize whole = picture().size();
        const bool fits = whole.width() <= size.width() && whole.height() <= size.height();
        return fits ? whole : whole.scaled(size, Qt::KeepAspectRatio);
    }

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) const override
#else
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
#endif
    {
        return picture().isNull() ? QList<QSize>() : QList<QSize>{picture().size()};
    }

    QIconEngine *clone() const override
    {
        return new LazyIconEngine(*this);
    }

    // Streamed as the plain icon of the same file: one entry, which a reader takes for its own.
    QString key() const override
    {
        return QStringLiteral("QPixmapIconEngine");
    }
    bool write(QDataStream &out) const override
    {
        out << 1 << picture() << m_fileName << picture().size()
            << static_cast<quint32>(QIcon::Normal) << static_cast<quint32>(QIcon::Off);
        return true;
    }

    void virtual_hook(int id, void *data) override
    {
        if (id == IsNullHook) {
            *static_cast<bool *>(data) = picture().isNull();
            return;
        }
        QIconEngine::virtual_hook(id, data);
    }

private:
    const QPixmap &picture() const
    {
        if (m_picture.isNull()) {
            m_picture = QPixmap(m_fileName);
        }
        return m_picture;
    }

    QString m_fileName;
    mutable QPixmap m_picture;
};

} // namespace

QIcon LazyIcon(const QString &fileName)
{
    return QIcon(new LazyIconEngine(fileName)); // which the icon owns
}
