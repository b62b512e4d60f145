#include "optcalcplotlegend.h"

#include "labelwidget.h"
#include "portfolio/virtualportfoliomodel.h"
#include "database/settings.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPainter>

#include <qwt_dyngrid_layout.h>
#include <qwt_legend_label.h>

namespace {

const char* const profileTypeProperty = "profileType";
const char* const drawTypeProperty = "drawType";

QString basePriceTitle() { return QStringLiteral("Цена Базового Актива"); }

// Titles of the three profiles, by profile type.
QString profileTitle(int profileType)
{
    switch (profileType) {
    case 0: return QStringLiteral("Профиль 'Что если?'");
    case 1: return QStringLiteral("Текущий профиль");
    case 2: return QStringLiteral("Профиль на экспирацию");
    default: return QString();
    }
}

QColor textColor(const QwtLegendLabel* label)
{
    return label->palette().color(QPalette::Active, QPalette::Text);
}

void setTextColor(QwtLegendLabel* label, const QColor& color)
{
    QPalette palette = label->palette();
    palette.setColor(QPalette::Text, color);
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
}

QColor textColorFor(bool checked) { return checked ? QColor(Qt::black) : QColor(Qt::darkGray); }

// The check box and label of an entry widget built by the legend, or nulls.
QPair<QCheckBox*, QwtLegendLabel*> entryParts(QWidget* widget)
{
    QLayout* entry = widget ? widget->layout() : nullptr;
    if (!entry || entry->count() != 2)
        return {nullptr, nullptr};
    return {qobject_cast<QCheckBox*>(entry->itemAt(0)->widget()),
            qobject_cast<QwtLegendLabel*>(entry->itemAt(1)->widget())};
}

// A profile type from its digit, -1 for anything else.
int typeDigit(const QString& text, int position)
{
    if (position >= text.size())
        return -1;
    const int digit = text.at(position).digitValue();
    return digit >= 0 && digit <= 2 ? digit : -1;
}

} // namespace

OptCalcPlotLegend::OptCalcPlotLegend(VirtualPortfolioModel* model, QWidget* parent)
    : QwtLegend(parent), m_model(model)
{
    setDefaultItemMode(QwtLegendData::ReadOnly);

    m_hiddenIcon = QPixmap(50, 13);
    m_hiddenIcon.fill(Qt::white);
    {
        QPainter painter(&m_hiddenIcon);
        painter.setPen(QPen(Qt::gray, 2, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.drawLine(QPointF(1, 6.5), QPointF(49, 6.5));
    }
    m_hiddenIconKey = m_hiddenIcon.cacheKey();

    m_gridLayout = qobject_cast<QwtDynGridLayout*>(contentsWidget()->layout());
    if (m_gridLayout)
        m_gridLayout->setSizeConstraint(QLayout::SetFixedSize);
}

OptCalcPlotLegend::~OptCalcPlotLegend()
{
    // The entries go with the base class, after the maps they would clean up.
    for (auto it = m_labels.cbegin(); it != m_labels.cend(); ++it)
        disconnect(it.key(), &QObject::destroyed, this, nullptr);
}

QString OptCalcPlotLegend::summaryTitle()
{
    return tr("Суммарно");
}

bool OptCalcPlotLegend::isLive(QCheckBox* checkBox, QwtLegendLabel* label) const
{
    // Entries whose widgets were dropped by the base class linger in the map until the next
    // entry is made; only those still in the legend count.
    return isAncestorOf(checkBox) && isAncestorOf(label);
}

QList<QPair<QCheckBox*, QwtLegendLabel*>> OptCalcPlotLegend::liveEntries() const
{
    QList<QPair<QCheckBox*, QwtLegendLabel*>> entries;
    for (auto it = m_labels.cbegin(); it != m_labels.cend(); ++it) {
        if (isLive(it.key(), it.value()))
            entries.append({it.key(), it.value()});
    }
    return entries;
}

QPair<QCheckBox*, QwtLegendLabel*> OptCalcPlotLegend::entryOf(const QString& title) const
{
    // Asked for every curve on every mouse move: the title is compared before anything else.
    if (!title.isEmpty()) {
        for (auto it = m_labels.cbegin(); it != m_labels.cend(); ++it) {
            if (it.value()->text().text() == title && isLive(it.key(), it.value()))
                return {it.key(), it.value()};
        }
    }
    return {nullptr, nullptr};
}

bool OptCalcPlotLegend::isItemChecked(const QString& title, bool* found) const
{
    const auto entry = entryOf(title);
    if (found)
        *found = entry.first != nullptr;
    return entry.first ? entry.first->isChecked() : true;
}

void OptCalcPlotLegend::setItemChecked(const QString& title, bool checked)
{
    const auto entry = entryOf(title);
    if (!entry.first)
        return;
    const bool wasChecked = entry.first->isChecked();
    entry.first->setChecked(checked);
    if (!wasChecked && !checked && !m_hiddenItems.contains(title))
        m_hiddenItems.append(title);
}

void OptCalcPlotLegend::setItemIcon(const QString& title, const QPixmap& pixmap)
{
    if (title.isEmpty() || pixmap.isNull() || pixmap.cacheKey() == m_hiddenIconKey)
        return;
    const auto entry = entryOf(title);
    if (entry.second)
        entry.second->setIcon(pixmap);
}

void OptCalcPlotLegend::applyHiddenItems()
{
    const QStringList hidden = m_hiddenItems;
    for (const QString& title : hidden)
        setItemChecked(title, false);
}

QWidget* OptCalcPlotLegend::createWidget(const QwtLegendData& data) const
{
    Q_UNUSED(data)
    auto* widget = new LabelWidget;
    auto* layout = new QHBoxLayout(widget);
    auto* checkBox = new QCheckBox;
    checkBox->setChecked(true);
    // createWidget() is const in the base class; the entry still reports to this legend.
    auto* self = const_cast<OptCalcPlotLegend*>(this);
    connect(checkBox, &QCheckBox::stateChanged, self, &OptCalcPlotLegend::onCheckBoxChecked,
            Qt::UniqueConnection);
    // The maps never hold an entry that is gone, so that look-ups need not search the children.
    connect(checkBox, &QObject::destroyed, self, [self, checkBox] {
        self->m_labels.remove(checkBox);
        self->m_icons.remove(checkBox);
    });
    auto* label = new QwtLegendLabel;
    label->setItemMode(defaultItemMode());
    layout->addWidget(checkBox);
    layout->addWidget(label);

    const QList<QCheckBox*> boxes = findChildren<QCheckBox*>();
    const QList<QwtLegendLabel*> labels = findChildren<QwtLegendLabel*>();
    for (auto it = m_labels.begin(); it != m_labels.end();) {
        if (!boxes.contains(it.key()) && !labels.contains(it.value()))
            it = m_labels.erase(it);
        else
            ++it;
    }
    for (auto it = m_icons.begin(); it != m_icons.end();) {
        if (!boxes.contains(it.key()))
            it = m_icons.erase(it);
        else
            ++it;
    }
    m_labels[checkBox] = label;
    return widget;
}

void OptCalcPlotLegend::updateWidget(QWidget* widget, const QwtLegendData& data)
{
    if (!widget)
        return;
    const auto [checkBox, label] = entryParts(widget);
    if (!checkBox || !label || !checkBox->isEnabled() || !label->isEnabled() || !data.isValid()) {
        QwtLegend::updateWidget(widget, data);
        return;
    }
    label->setData(data);
    // A refresh of the curve would otherwise bring its real icon back.
    if (label->icon().cacheKey() != m_hiddenIconKey && !checkBox->isChecked())
        label->setIcon(m_hiddenIcon);
    if (!label->text().isEmpty())
        setTextColor(label, textColorFor(checkBox->isChecked()));
    if (checkBox->parentWidget() == widget && label->parentWidget() == widget && m_gridLayout) {
        const int index = m_gridLayout->indexOf(widget);
        const Qt::Alignment current = index >= 0 ? m_gridLayout->itemAt(index)->alignment()
                                                 : Qt::Alignment();
        m_gridLayout->setAlignment(widget, (current & ~Qt::AlignRight) | Qt::AlignLeft
                                                 | Qt::AlignHCenter);
        widget->update();
        widget->repaint();
    }
}

void OptCalcPlotLegend::updateLegend(const QVariant& itemInfo, const QList<QwtLegendData>& data)
{
    QwtLegend::updateLegend(itemInfo, data);
    if (itemInfo.isNull() || !itemInfo.isValid() || data.isEmpty())
        return;

    for (const auto& [checkBox, label] : liveEntries()) {
        const QString text = label->text().text();
        if (text.isEmpty() || label->icon().isNull()) {
            label->setProperty(profileTypeProperty, -1);
            label->setProperty(drawTypeProperty, -1);
            continue;
        }
        if (label->icon().cacheKey() != m_hiddenIconKey) {
            if (!checkBox->isChecked()) {
                label->setIcon(m_hiddenIcon);
            } else if (m_icons.contains(checkBox)) {
                const QPixmap stored = m_icons.value(checkBox);
                if (stored.isNull() || stored.cacheKey() == m_hiddenIconKey) {
                    m_icons.remove(checkBox);
                    continue;
                }
                label->setIcon(stored);
            }
        }
        const QColor color = textColor(label);
        if (checkBox->isChecked() && color == QColor(Qt::darkGray))
            setTextColor(label, Qt::black);
        else if (!checkBox->isChecked() && color == QColor(Qt::black))
            setTextColor(label, Qt::darkGray);

        for (int type = 0; type <= 2; ++type) {
            const QString title = profileTitle(type);
            if (text.contains(title) || text.contains(title.at(0).toLower() + title.mid(1))) {
                label->setProperty(profileTypeProperty, type);
                break;
            }
        }
        label->setProperty(drawTypeProperty, text.contains(basePriceTitle()) ? 2 : 1);
    }
}

void OptCalcPlotLegend::onCheckBoxChecked(int state)
{
    if (state != Qt::Unchecked && state != Qt::Checked)
        return;
    auto* checkBox = qobject_cast<QCheckBox*>(sender());
    QwtLegendLabel* label = checkBox ? m_labels.value(checkBox) : nullptr;
    if (!label)
        return;
    const QString text = label->text().text();
    if (text.isEmpty() || label->icon().isNull())
        return;

    if (state == Qt::Checked) {
        if (label->icon().cacheKey() == m_hiddenIconKey && m_icons.contains(checkBox)) {
            const QPixmap stored = m_icons.value(checkBox);
            if (!stored.isNull() && stored.cacheKey() != m_hiddenIconKey)
                label->setIcon(stored);
            else
                m_icons.remove(checkBox);
        }
        setTextColor(label, Qt::black);
        emit visibilityChanged(text, true);
        m_hiddenItems.removeAll(text);
    } else {
        if (label->icon().cacheKey() != m_hiddenIconKey) {
            m_icons[checkBox] = label->icon();
            label->setIcon(m_hiddenIcon);
        }
        setTextColor(label, Qt::darkGray);
        emit visibilityChanged(text, false);
        if (!m_hiddenItems.contains(text))
            m_hiddenItems.append(text);
    }
}

void OptCalcPlotLegend::save(Settings& settings) const
{
    if (m_labels.isEmpty())
        return;
    QStringList keys;
    for (const auto& [checkBox, label] : liveEntries()) {
        const QString text = label->text().text();
        if (text.isEmpty())
            continue;
        QString key;
        bool ok = false;
        const int drawType = label->property(drawTypeProperty).toInt(&ok);
        if (ok && drawType == 0) {
            const QStringList parts = text.split(QLatin1Char('('));
            const QString name = parts.size() == 2 ? parts.first().trimmed() : QString();
            const QStringList rowKey = name.isEmpty() || !m_model
                                           ? QStringList()
                                           : m_model->activeRowKey(name).split(QLatin1Char(','));
            if (rowKey.size() != 3)
                continue;
            key = QStringLiteral("%1,%2,%3,%4").arg(rowKey[0], rowKey[1], rowKey[2]).arg(0);
        } else if (ok && drawType == 1) {
            key = QStringLiteral("%1,%2,%3,%4").arg(1).arg(0).arg(0).arg(1);
        } else if (ok && drawType == 2) {
            key = QString::number(2);
        }
        const int profileType = label->property(profileTypeProperty).toInt(&ok);
        if (ok && profileType >= 0 && profileType <= 2)
            key += QString::number(profileType);
        if (key.isEmpty() || key.endsWith(QLatin1Char(',')))
            continue;

        settings.setValue(QStringLiteral("key") + key, checkBox->isChecked());
        if (m_icons.contains(checkBox))
            settings.setValue(QStringLiteral("icon") + key, m_icons.value(checkBox));
        keys.append(key);
    }
    settings.setValue(QStringLiteral("legendItemKeys"), keys);
}

void OptCalcPlotLegend::restore(const Settings& settings)
{
    m_hiddenItems.clear();
    const QStringList keys = settings.value(QStringLiteral("legendItemKeys")).toStringList();
    for (const QString& key : keys) {
        if (key.isEmpty())
            continue;
        const QVariant checkedValue = settings.value(QStringLiteral("key") + key, true);
        if (!checkedValue.canConvert(QMetaType::Bool))
            continue;
        const bool checked = checkedValue.toBool();
        const QVariant iconValue = settings.value(QStringLiteral("icon") + key);
        const QPixmap icon = iconValue.canConvert<QPixmap>() ? iconValue.value<QPixmap>() : QPixmap();

        QString types = key;
        if (key.contains(QLatin1Char(','))) {
            const QStringList parts = key.split(QLatin1Char(','));
            if (parts.size() != 4)
                continue;
            bool ok1 = false, ok2 = false, ok3 = false;
            parts[0].toInt(&ok1);
            const int second = parts[1].toInt(&ok2);
            const qint64 third = parts[2].toLongLong(&ok3);
            if (!ok1 || !ok2 || !ok3)
                continue;
            if (third == 0 && second != 0)
                continue;
            // A position's own entry must still be in the portfolio; the sum's has no name.
            if (!(second == 0 && third == 0)) {
                const QString rowKey = QStringLiteral("%1,%2,%3").arg(parts[0], parts[1], parts[2]);
                if (!m_model || m_model->activeRowNameByKey(rowKey).isEmpty())
                    continue;
            }
            types = parts[3];
        }
        const int drawType = typeDigit(types, 0);
        const int profileType = typeDigit(types, 1);
        QString title;
        if (drawType == 2)
            title = basePriceTitle();
        if (profileType >= 0)
            title = profileTitle(profileType);

        if (!icon.isNull())
            setItemIcon(title, icon);
        setItemChecked(title, checked);
    }
}
