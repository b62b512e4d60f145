#pragma once

#include <QDockWidget>
#include <QPoint>

// A panel of the calculator window. A click on it brings it forward and gives its content
// the focus; a drag only moves it. Closing it is announced first, so that the window can
// uncheck the action that shows it.
class OptCalcDockWidget : public QDockWidget
{
    Q_OBJECT

public:
    explicit OptCalcDockWidget(const QString& title, QWidget* parent = nullptr);
    ~OptCalcDockWidget() override;

signals:
    void aboutToClose();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;

private slots:
    void onVisibilityChanged(bool visible);

private:
    bool pressed = false;
    QPoint pressPos;
};
