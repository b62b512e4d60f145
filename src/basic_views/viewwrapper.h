#pragma once

#include "basic_views_global.h"
#include "fileexporter.h"

#include <QAbstractItemView>
#include <QList>
#include <QObject>
#include <QPointer>

class ExporterProxyModel;
class QTimer;

// What a view offers the export: which columns and rows of its model leave it, and in
// which order, and the two ways out: a one-time export into a file (exportData) and the
// dynamic export, which writes the file again whenever the model changes, until it is
// turned off. Views keep one wrapper as a child; subclasses choose what is exported.
class BASIC_VIEWS_EXPORT ViewWrapper : public QObject
{
    Q_OBJECT
public:
    explicit ViewWrapper(QAbstractItemView* view);
    ~ViewWrapper() override;

    QAbstractItemView* view() const { return m_view; }

    // The name of the file suggested and the title written into it; by default the title
    // of the view's window.
    void setTitle(const QString& title) { m_title = title; }
    QString title() const;

    bool isExportDynamic() const { return m_dynamic; }
    QString dynamicFile() const { return m_dynamicPath; }

public slots:
    // Every column of the model, in the model's order.
    virtual QList<int> columnsAll() const;
    // The columns an export writes, in order; by default all.
    virtual QList<int> columnsExport() const;
    // The rows an export writes, in order; by default all.
    virtual QList<int> rowsExport() const;
    virtual void exportData();
    // On: asks for a file and writes it now and after each change of the model.
    virtual void exportDynamic(bool enable);

signals:
    void exportDynamicChanged(bool enabled);

protected:
    // A proxy over the view's model with the columns and rows to export; the caller owns
    // it. Null without a model.
    virtual ExporterProxyModel* createExporterModel() const;

private:
    void followModel(bool follow);
    void writeDynamic();

    QPointer<QAbstractItemView> m_view;
    QString m_title;
    bool m_dynamic = false;
    QString m_dynamicPath;
    FileExporter::Format m_dynamicFormat = FileExporter::Csv;
    QTimer* m_rewrite;
    QList<QMetaObject::Connection> m_modelConnections;
};
