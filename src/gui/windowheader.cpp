#include "windowheader.h"

#include <QDockWidget>
#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

namespace {

const int TextMargin = 4;

QToolButton* makeButton(QStyle::StandardPixmap pixmap, const QString& toolTip, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setIcon(parent->style()->standardIcon(pixmap, nullptr, parent));
    button->setToolTip(toolTip);
    const int extent = parent->style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, parent);
    button->setIconSize(QSize(extent, extent));
    return button;
}

} // namespace

WindowHeader::WindowHeader(QWidget* parent)
    : QWidget(parent),
      m_floatButton(makeButton(QStyle::SP_TitleBarNormalButton, tr("Открепить"), this)),
      m_closeButton(makeButton(QStyle::SP_TitleBarCloseButton, tr("Закрыть"), this))
{
    m_floatButton->setObjectName(QStringLiteral("floatButton"));
    m_closeButton->setObjectName(QStringLiteral("closeButton"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(TextMargin, 1, 1, 1);
    layout->setSpacing(0);
    layout->addStretch(1);
    layout->addWidget(m_floatButton);
    layout->addWidget(m_closeButton);
    connect(m_floatButton, &QToolButton::clicked, this, &WindowHeader::onFloatClicked);
    connect(m_closeButton, &QToolButton::clicked, this, &WindowHeader::onCloseClicked);
}

WindowHeader::~WindowHeader() = default;

void WindowHeader::setMainWidget(QWidget* widget)
{
    if (m_mainWidget)
        m_mainWidget->removeEventFilter(this);
    m_mainWidget = widget;
    if (widget)
        widget->installEventFilter(this);
    update();
}

QWidget* WindowHeader::mainWidget() const
{
    return m_mainWidget;
}

QString WindowHeader::title() const
{
    return m_mainWidget ? m_mainWidget->windowTitle() : QString();
}

void WindowHeader::setBtnEnabled(Button which, bool enabled)
{
    if (QToolButton* found = button(which))
        found->setEnabled(enabled);
}

bool WindowHeader::isBtnEnabled(Button which) const
{
    const QToolButton* found = button(which);
    return found && found->isEnabled();
}

QSize WindowHeader::sizeHint() const
{
    const QSize buttons = QWidget::sizeHint();
    const int textHeight = fontMetrics().height() + 2;
    const int textWidth = fontMetrics().horizontalAdvance(title()) + 2 * TextMargin;
    return QSize(buttons.width() + textWidth, qMax(buttons.height(), textHeight));
}

QSize WindowHeader::minimumSizeHint() const
{
    const QSize buttons = QWidget::minimumSizeHint();
    return QSize(buttons.width(), qMax(buttons.height(), fontMetrics().height() + 2));
}

QColor WindowHeader::titleColor() const
{
    return palette().color(QPalette::Window).darker(112);
}

bool WindowHeader::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_mainWidget && event->type() == QEvent::WindowTitleChange) {
        updateGeometry();
        update();
    }
    return QWidget::eventFilter(watched, event);
}

void WindowHeader::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.fillRect(rect(), titleColor());
    int right = width();
    for (const QToolButton* shown : {m_floatButton, m_closeButton}) {
        if (shown->isVisible())
            right = qMin(right, shown->x());
    }
    const QRect textRect(TextMargin, 0, qMax(0, right - 2 * TextMargin), height());
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(title(), Qt::ElideRight, textRect.width()));
}

void WindowHeader::onFloatClicked()
{
    if (auto* dock = qobject_cast<QDockWidget*>(m_mainWidget.data()))
        dock->setFloating(!dock->isFloating());
    emit floatClicked();
}

void WindowHeader::onCloseClicked()
{
    emit closeClicked();
    if (m_mainWidget)
        m_mainWidget->close();
}

QToolButton* WindowHeader::button(Button which) const
{
    switch (which) {
    case CloseButton:
        return m_closeButton;
    case FloatButton:
        return m_floatButton;
    }
    return nullptr;
}
