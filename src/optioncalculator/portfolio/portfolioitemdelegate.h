#pragma once

#include "portfoliomodel.h"

#include "basic_views/viewscolormanager.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionViewItem>

#include <utility>

// Paints the cells of a portfolio table over the item delegate T. A row that takes no part
// in the calculation (expired, gone from the market, of another base code) is written in
// grey, selected or not, so that it stands apart while the mouse is elsewhere. In the
// model value columns a value in use gets the calculator's colour for model values, and
// the fixed one is bold.
template <class T> class PortfolioItemDelegate : public T
{
public:
    template <class... Args>
    explicit PortfolioItemDelegate(Args&&... args)
        : T(std::forward<Args>(args)...), m_greyBrush(Qt::gray)
    {
    }

    const QBrush& greyBrush() const { return m_greyBrush; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override
    {
        QStyleOptionViewItem opt = option;
        if (const auto* model = qobject_cast<const PortfolioModel*>(index.model()))
            decorate(opt, *model, index);
        T::paint(painter, opt, index);
    }

private:
    void decorate(QStyleOptionViewItem& opt, const PortfolioModel& model,
                  const QModelIndex& index) const
    {
        if (!(opt.state & QStyle::State_MouseOver) &&
            !model.isRowActive(model.recordByIndex(index), false)) {
            opt.palette.setBrush(QPalette::Text, m_greyBrush);
            opt.palette.setBrush(QPalette::HighlightedText, m_greyBrush);
            return;
        }
        const QString column = model.columnName(index.column());
        if (column != QLatin1String("miv") && column != QLatin1String("mp"))
            return;
        if (index.data(Qt::UserRole).toBool()) {
            const bool selected = opt.state & QStyle::State_Selected;
            QColor colour = ViewsColorManager::color(ViewsColorManager::OptionCalculator,
                                                     selected ? ViewsColorManager::Selected
                                                              : ViewsColorManager::Normal,
                                                     ViewsColorManager::ModelValue);
            if (!colour.isValid())
                colour = opt.palette.color(selected ? QPalette::Highlight : QPalette::Base);
            // A selected cell is filled with the highlight, not with its background.
            opt.backgroundBrush = colour;
            if (selected)
                opt.palette.setColor(QPalette::Highlight, colour);
        }
        if (index.data(Qt::UserRole + 1).toBool())
            opt.font.setWeight(QFont::Bold);
    }

    QBrush m_greyBrush;
};
