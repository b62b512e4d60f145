#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QObject>
#include <QStringList>
#include <QTimer>

// Closes the message boxes that the code under test opens, and keeps their texts.
class DialogCatcher : public QObject
{
public:
    DialogCatcher()
    {
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                texts << box->text();
                box->done(QMessageBox::Ok);
            }
        });
        m_timer.start();
    }

    QStringList texts;

private:
    QTimer m_timer;
};
