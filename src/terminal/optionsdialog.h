#pragma once

#include "c_api/optionsrequest.h"

#include <QDialog>
#include <QList>
#include <QPointer>

class ICore;
class IOptionsPage;
class QLineEdit;
class QListWidget;
class QStackedWidget;
class QTabWidget;

// The terminal's options dialog: the pages that ICore::addOptionsPage() collected, grouped
// by category in a list on the left, one tab per page. A page's widget is made when the page
// is first shown; OK calls apply() of every page, and closing calls finish() of every page
// before the dialog and the widgets go.
class OptionsDialog : public QDialog
{
    Q_OBJECT

public:
    OptionsDialog(ICore* core, const OptionsRequest& request, QWidget* parent = nullptr);
    ~OptionsDialog() override;

    // Shows a page by category and id: an empty or unknown page gives the category's first
    // one, an empty category the page's own. False when nothing matches.
    bool openPage(const QString& category, const QString& pageId);
    IOptionsPage* currentPage() const;
    // The widget the page made, or null while it has not been shown.
    QWidget* pageWidget(IOptionsPage* page) const;
    QStringList categories() const;

public slots:
    void accept() override;
    void done(int result) override;

private:
    struct Page
    {
        IOptionsPage* page;
        QString category;
        QWidget* holder;           // the tab
        QPointer<QWidget> content; // what createPage() made
    };

    void showCurrentPage();
    void applyFilter(const QString& text);
    bool isAlive(IOptionsPage* page) const;
    void finishPages();
    void saveState();

    ICore* m_core;
    QString m_stateKey;
    QList<Page> m_pages;
    QStringList m_categories;
    QLineEdit* m_filter;
    QListWidget* m_categoryList;
    QStackedWidget* m_stack;
    QList<QTabWidget*> m_tabs; // one per category
    bool m_finished = false;
};
