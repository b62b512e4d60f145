#pragma once

#include <QMap>
#include <QPair>
#include <QPixmap>
#include <QStringList>

#include <qwt_legend.h>

class QCheckBox;
class QwtDynGridLayout;
class QwtLegendLabel;
class Settings;
class VirtualPortfolioModel;

// The legend of a calculator plot. Every entry has a check box that hides and shows its
// curve; a switched-off entry shows a gray dash instead of its line and gray text, and the
// titles switched off are remembered through the terminal's settings.
class OptCalcPlotLegend : public QwtLegend
{
    Q_OBJECT
public:
    OptCalcPlotLegend(VirtualPortfolioModel* model, QWidget* parent = nullptr);
    ~OptCalcPlotLegend() override;

    QStringList hiddenItems() const { return m_hiddenItems; }
    void setHiddenItems(const QStringList& items) { m_hiddenItems = items; }
    // The check state of the entry of that title; true with *found false when there is none.
    bool isItemChecked(const QString& title, bool* found = nullptr) const;
    void setItemChecked(const QString& title, bool checked);
    void setItemIcon(const QString& title, const QPixmap& pixmap);
    // Switches off again every title of hiddenItems(), once curves are rebuilt.
    void applyHiddenItems();
    // The entries' states, in the settings group of the plot's tab that the caller opened.
    void save(Settings& settings) const;
    void restore(const Settings& settings);
    // The title of the portfolio's totals.
    static QString summaryTitle();

    QPixmap hiddenIcon() const { return m_hiddenIcon; }

signals:
    void visibilityChanged(const QString& labelText, bool visible);

public slots:
    void updateLegend(const QVariant& itemInfo, const QList<QwtLegendData>& data) override;
    void onCheckBoxChecked(int state);

protected:
    QWidget* createWidget(const QwtLegendData& data) const override;
    void updateWidget(QWidget* widget, const QwtLegendData& data) override;

private:
    bool isLive(QCheckBox* checkBox, QwtLegendLabel* label) const;
    // The entries whose check box and label are both still in the legend, in map order.
    QList<QPair<QCheckBox*, QwtLegendLabel*>> liveEntries() const;
    // The first live entry of that title, or nulls.
    QPair<QCheckBox*, QwtLegendLabel*> entryOf(const QString& title) const;

    // createWidget() is const in the base class, yet it registers the entry it makes.
    mutable QMap<QCheckBox*, QwtLegendLabel*> m_labels;
    mutable QMap<QCheckBox*, QPixmap> m_icons;
    QStringList m_hiddenItems;
    QPixmap m_hiddenIcon;
    qint64 m_hiddenIconKey = 0;
    VirtualPortfolioModel* m_model = nullptr;
    QwtDynGridLayout* m_gridLayout = nullptr;
};
