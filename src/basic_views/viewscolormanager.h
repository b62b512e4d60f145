#pragma once

#include "basic_views_global.h"

#include <QColor>
#include <QHash>
#include <QMap>
#include <QObject>

class IOptionsPage;

// The colours of the terminal's views, which the user sets in the options dialog under
// "Colors", one page a view ("ViewsColorPage %1" with the view's number). A colour is asked
// for by view, role (the state of the cell: normal or selected) and colour number, and
// comes from the application settings (group "ViewsColors"), or else from the defaults the
// view registered. A colour nobody registered is invalid: the caller then keeps its own.
class BASIC_VIEWS_EXPORT ViewsColorManager : public QObject
{
    Q_OBJECT
public:
    enum View { OptionCalculator = 6 };
    enum Role { Normal = 0, Selected = 1 };
    // Of the option calculator: the background of a model value in use.
    enum Color { ModelValue = 20 };

    static ViewsColorManager* instance();
    static QColor color(int view, int role, int colour);

    void registerView(int view, const QString& title);
    void registerColor(int view, int colour, const QString& title, const QColor& normal,
                       const QColor& selected);
    QList<int> views() const { return m_views.keys(); }
    QString viewTitle(int view) const;
    QList<int> colors(int view) const;
    QString colorTitle(int view, int colour) const;

    QColor colorOf(int view, int role, int colour) const;
    QColor defaultColor(int view, int role, int colour) const;
    // Stores a colour; an invalid one, or the default, goes back to the default.
    void setColor(int view, int role, int colour, const QColor& value);
    // Forgets what was read, so that the next question reads the settings again.
    void reload();

    static QString pageId(int view);
    // One options page a registered view; the caller owns them.
    QList<IOptionsPage*> createOptionsPages();

signals:
    void colorsChanged(int view);

private:
    ViewsColorManager();
    ~ViewsColorManager() override;

    struct Entry
    {
        QString title;
        QColor normal;
        QColor selected;
    };
    static QString key(int view, int role, int colour);

    QMap<int, QString> m_views;
    QMap<int, QMap<int, Entry>> m_colors;
    mutable QHash<QString, QColor> m_cache;
};
