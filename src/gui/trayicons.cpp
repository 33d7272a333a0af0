#include "gui/trayicons.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>

#include "gui/presentation.h"

namespace Nomly {

namespace {

// Drawn on a 22-unit grid, the usual tray size, and scaled.
constexpr qreal Grid = 22.0;
constexpr int Sizes[] = { 16, 22, 24, 32, 48, 64 };

const QColor BadgeBlue(0x3d, 0x7e, 0xdb);
const QColor BadgeGreen(0x2e, 0xa0, 0x43);
const QColor BadgeRed(0xd0, 0x3e, 0x3e);
const QColor BadgeOrange(0xe0, 0x8a, 0x1e);

// A page with a folded corner and a name label across its foot: the
// program's mark, reduced to outlines.
void drawGlyph(QPainter &painter, const QColor &ink)
{
    QPen pen(ink, 1.6);
    pen.setJoinStyle(Qt::RoundJoin);
    pen.setCapStyle(Qt::RoundCap);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    QPainterPath page;
    page.moveTo(3.5, 1.5);
    page.lineTo(11.5, 1.5);
    page.lineTo(15.5, 5.5);
    page.lineTo(15.5, 19.5);
    page.lineTo(3.5, 19.5);
    page.closeSubpath();
    painter.drawPath(page);
    painter.drawPolyline(QList<QPointF> { { 11.5, 1.5 }, { 11.5, 5.5 }, { 15.5, 5.5 } });
    painter.drawLine(QPointF(6.5, 5.5), QPointF(9.0, 5.5));
    painter.drawLine(QPointF(6.5, 8.5), QPointF(12.5, 8.5));
    // The name label, reaching out of the page as in the program's icon.
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawRoundedRect(QRectF(6.0, 12.0, 14.5, 5.0), 1.4, 1.4);
}

const QRectF BadgeArea(11.5, 11.5, 10.0, 10.0);

void drawBadge(QPainter &painter, TrayIconState state, int frame)
{
    const QRectF badge = BadgeArea;
    const QPointF centre = badge.center();
    QPen white(Qt::white, 1.6);
    white.setCapStyle(Qt::RoundCap);
    white.setJoinStyle(Qt::RoundJoin);
    switch (state) {
    case TrayIconState::Standard:
        return;
    case TrayIconState::Processing: {
        // A ring with one arc of it bright, turned a step each frame.
        painter.setPen(QPen(BadgeBlue.lighter(160), 2.0));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(badge.adjusted(1.5, 1.5, -1.5, -1.5));
        QPen arc(BadgeBlue, 2.2);
        arc.setCapStyle(Qt::RoundCap);
        painter.setPen(arc);
        const int start = 90 * 16 - frame * (360 * 16 / TrayIconSpinnerFrames);
        painter.drawArc(badge.adjusted(1.5, 1.5, -1.5, -1.5), start, -120 * 16);
        return;
    }
    case TrayIconState::Success: {
        painter.setPen(Qt::NoPen);
        painter.setBrush(BadgeGreen);
        painter.drawEllipse(badge);
        painter.setPen(white);
        QPainterPath tick;
        tick.moveTo(centre + QPointF(-2.6, 0.2));
        tick.lineTo(centre + QPointF(-0.7, 2.2));
        tick.lineTo(centre + QPointF(2.8, -2.0));
        painter.drawPath(tick);
        return;
    }
    case TrayIconState::Offline:
        painter.setPen(Qt::NoPen);
        painter.setBrush(BadgeRed);
        painter.drawEllipse(badge);
        painter.setPen(white);
        painter.drawLine(centre + QPointF(-2.4, -2.4), centre + QPointF(2.4, 2.4));
        painter.drawLine(centre + QPointF(-2.4, 2.4), centre + QPointF(2.4, -2.4));
        return;
    case TrayIconState::Paused:
        painter.setPen(Qt::NoPen);
        painter.setBrush(BadgeOrange);
        painter.drawEllipse(badge);
        painter.setPen(white);
        painter.drawLine(centre + QPointF(-1.3, -2.4), centre + QPointF(-1.3, 2.4));
        painter.drawLine(centre + QPointF(1.3, -2.4), centre + QPointF(1.3, 2.4));
        return;
    }
}

QPixmap render(TrayIconState state, bool darkPanel, int frame, int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / Grid, size / Grid);
    const QColor ink = darkPanel ? QColor(0xf2, 0xf2, 0xf2) : QColor(0x23, 0x23, 0x23);
    drawGlyph(painter, ink);
    if (state != TrayIconState::Standard) {
        // The badge sits in a gap of its own, so it reads on any glyph.
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(BadgeArea.adjusted(-1.2, -1.2, 1.2, 1.2));
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        drawBadge(painter, state, frame);
    }
    return pixmap;
}

} // namespace

TrayIconState trayIconState(const MenuBarPresentationState &state)
{
    switch (state.iconMode) {
    case MenuBarIconMode::Success:
        return TrayIconState::Success;
    case MenuBarIconMode::Processing:
        return TrayIconState::Processing;
    case MenuBarIconMode::Standard:
        break;
    }
    if (state.displayMode == MenuBarDisplayMode::SetupRequired)
        return TrayIconState::Standard;
    if (state.isOffline)
        return TrayIconState::Offline;
    return state.isPaused ? TrayIconState::Paused : TrayIconState::Standard;
}

QIcon trayIcon(TrayIconState state, bool darkPanel, int frame)
{
    QIcon icon;
    for (const int size : Sizes)
        icon.addPixmap(render(state, darkPanel, frame % TrayIconSpinnerFrames, size));
    return icon;
}

bool isDarkPanel()
{
    // The panel follows the desktop, not the appearance chosen in Nomly.
    const QPalette palette = desktopPalette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QIcon themedIcon(const QString &name)
{
    return QIcon::fromTheme(name, QIcon(QStringLiteral(":/icons/%1.svg").arg(name)));
}

} // namespace Nomly
