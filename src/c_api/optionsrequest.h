#pragma once

#include <QPointer>
#include <QString>
#include <QVariant>
#include <QWidget>

// What ICore::showOptions() hands to the host's options dialog.
struct OptionsRequest
{
    // The category and the page to open; empty: the dialog's first page.
    QString category;
    QString page;
    // The dialog's parent; null: the host's main window.
    QPointer<QWidget> parent;
    // The text put in the dialog's search field, which narrows the pages shown.
    QString filter;
    // The dialog's window title; empty: the host's own.
    QString title;
    // The settings key under which the dialog keeps its size and last page; empty: the
    // host's own.
    QString stateKey;
    // The help topic the dialog's help button opens; empty: the page's.
    QString helpTopic;
    // Anything the caller wants the dialog to hand to the page, as it is.
    QVariant context;
};
