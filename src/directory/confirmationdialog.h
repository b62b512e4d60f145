#pragma once

#include "directory_global.h"

#include <QPointer>
#include <QString>
#include <QWidget>

class QCheckBox;
class QDialogButtonBox;
class QEventLoop;
class QLabel;

// A yes/no question before an action that cannot be undone, which the user may turn off.
// The settings key names a boolean of the application settings (a full key such as
// "Group/askSomething"); while it is true (and while it is missing) the dialog asks, and
// offers "Больше не спрашивать", which turns it false when the user confirms. Without a key
// it always asks and offers nothing to turn off.
//
// It is a window of its own rather than a QDialog, since exec() answers yes or no.
class DIRECTORY_EXPORT ConfirmationDialog : public QWidget
{
    Q_OBJECT
public:
    explicit ConfirmationDialog(QWidget* parent = nullptr);
    ~ConfirmationDialog() override;

    void setText(const QString& text);
    QString text() const;
    void setSettingsKey(const QString& key);
    QString settingsKey() const;

    // Whether exec() will ask.
    bool isAsking() const;
    // True when the user confirmed, and at once, without asking, when the question is
    // turned off. Modal: application-modal unless another modality was set.
    bool exec();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void finish(bool confirmed);

    QLabel* m_text;
    QCheckBox* m_dontAsk;
    QDialogButtonBox* m_buttons;
    QString m_settingsKey;
    QEventLoop* m_loop = nullptr;
    bool m_confirmed = false;
};
