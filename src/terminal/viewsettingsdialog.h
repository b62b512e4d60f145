#pragma once

#include <QDialog>
#include <QList>

class IView;
class IViewSettingsPage;
class QListWidget;
class QStackedWidget;
class Settings;

// The settings dialog of one view: the pages of IView::getSettingsPages(), each made from
// the view's settings group. OK writes every page into that group with apply(Settings&)
// and then tells the view with IView::apply(); closing calls finish() of every page, after
// which the dialog deletes the pages it was given.
class ViewSettingsDialog : public QDialog
{
    Q_OBJECT

public:
    ViewSettingsDialog(IView* view, Settings& settings, QWidget* parent = nullptr);
    ~ViewSettingsDialog() override;

    QList<IViewSettingsPage*> pages() const { return m_pages; }

    // Opens the dialog for a hosted view, modal. The view's settings group is a scratch copy
    // of the view's state: its "userTitle" and what its store() writes; the title the pages
    // leave there after OK becomes the view's.
    static void showFor(IView* view, QWidget* parent);

public slots:
    void accept() override;
    void done(int result) override;

private:
    void finishPages();

    IView* m_view;
    Settings& m_settings;
    QList<IViewSettingsPage*> m_pages;
    QListWidget* m_list;
    QStackedWidget* m_stack;
    bool m_finished = false;
};
