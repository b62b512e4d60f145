#pragma once

#include "basic_views_global.h"

#include <QPointer>
#include <QTableView>

// A table view for large, fast-changing models: every row has the height of one line of
// text, so that the view never asks the delegate for a cell's size, scrolls by pixels, and
// sizes a column to its contents from the rows in view only.
//
// A footer widget may be set: it lies under the cells, above the horizontal scroll bar,
// as wide as the cells, and the cells scroll above it (a row of totals, for instance).
class BASIC_VIEWS_EXPORT QTableFastView : public QTableView
{
    Q_OBJECT
public:
    explicit QTableFastView(QWidget* parent = nullptr);
    ~QTableFastView() override;

    // The height of every row, from the font.
    int fixedRowHeight() const { return m_rowHeight; }

    // Takes the widget as a child; its size hint gives its height. A null widget removes
    // the footer (without deleting the old one).
    void setFooterWidget(QWidget* widget);
    QWidget* footerWidget() const { return m_footer; }

protected:
    int sizeHintForRow(int row) const override;
    int sizeHintForColumn(int column) const override;
    void updateGeometries() override;
    void changeEvent(QEvent* event) override;

private:
    void updateRowHeight();
    int footerHeight() const;
    void placeFooter();

    QPointer<QWidget> m_footer;
    int m_rowHeight = 0;
    bool m_settingMargins = false;
};
