#pragma once

#include "basic_views_global.h"

#include <QPointer>
#include <QWidget>

class QListView;
class QPushButton;
class TableHeaderModel;

// The editor of a TableHeaderModel: the columns as a list of check boxes, with buttons
// that move the chosen column up or down, show all columns, or bring back the defaults.
class BASIC_VIEWS_EXPORT TableHeaderSettingsForm : public QWidget
{
    Q_OBJECT
public:
    explicit TableHeaderSettingsForm(QWidget* parent = nullptr);
    ~TableHeaderSettingsForm() override;

    // The model stays the caller's.
    void setModel(TableHeaderModel* model);
    TableHeaderModel* model() const { return m_model; }
    QListView* listView() const { return m_list; }

public slots:
    void moveUp();
    void moveDown();

private:
    void moveCurrent(int by);
    void updateButtons();

    QPointer<TableHeaderModel> m_model;
    QListView* m_list;
    QPushButton* m_up;
    QPushButton* m_down;
    QPushButton* m_showAll;
    QPushButton* m_defaults;
};
