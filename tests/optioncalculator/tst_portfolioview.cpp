// The portfolio cell delegates, the totals row and the portfolio table view: what the cells
// show, what the totals count, how rows are painted, what the cell editors offer, and the
// view's actions per model.
#include "portfoliofixture.h"

#include "portfolio/exporterproxyportfoliomodel.h"
#include "portfolio/mivmpcolumndelegate.h"
#include "portfolio/portfolioitemdelegate.h"
#include "portfolio/portfoliotableview.h"
#include "portfolio/portfoliototalmodel.h"

#include "basic_views/accountselectorbox.h"
#include "basic_views/frozenrowview.h"
#include "basic_views/itemdelegate.h"
#include "gui/action.h"

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QMimeData>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QToolBar>
#include <QUndoStack>
#include <QWidgetAction>
#include <QtTest>

namespace {

const QString PortfolioMime = QStringLiteral("application/x-gui-portfolio");

QVariant cell(const PortfolioFixture& f, const Record& row, const char* column,
              int role = Qt::DisplayRole)
{
    return f.model->recordData(row, f.model->fieldIndex(QLatin1String(column)), role);
}

decimal shownDecimal(const PortfolioFixture& f, const Record& row, const char* column)
{
    bool ok = false;
    const decimal value = decimal::fromVariant(cell(f, row, column), &ok);
    return ok ? value : decimal(-999999, 0);
}

decimal market(const PortfolioFixture& f, const QString& secName, const char* column)
{
    return f.market.security(secName).data(QLatin1String(column)).toDecimal();
}

decimal scaled(decimal value, short scale)
{
    value.setScale(scale);
    return value;
}

// Records the option that the portfolio delegate hands on to the delegate under it.
class OptionProbe : public ItemDelegate
{
public:
    using ItemDelegate::ItemDelegate;
    void paint(QPainter*, const QStyleOptionViewItem& option, const QModelIndex&) const override
    {
        last = option;
    }
    mutable QStyleOptionViewItem last;
};

// Takes what an editor writes instead of the model the index belongs to.
class WriteRecorder : public QStandardItemModel
{
public:
    bool setData(const QModelIndex&, const QVariant& value, int role) override
    {
        written = value;
        writtenRole = role;
        return true;
    }
    QVariant written;
    int writtenRole = -1;
};

} // namespace

// The calculator widget's slots, as the view's actions reach them by name.
class FakeCalcWidget : public QObject
{
    Q_OBJECT
public:
    QStringList calls;
    QString account;

public slots:
    void addVirtualPortfolioPos() { calls << QStringLiteral("addVirtualPortfolioPos"); }
    void addApproach() { calls << QStringLiteral("addApproach"); }
    void delVirtualPortfolioPos() { calls << QStringLiteral("delVirtualPortfolioPos"); }
    void clearVirtualPortfolio() { calls << QStringLiteral("clearVirtualPortfolio"); }
    void importDataToVirtualPortfolio() { calls << QStringLiteral("importDataToVirtualPortfolio"); }
    void addPostponedOrders() { calls << QStringLiteral("addPostponedOrders"); }
    void loadRealPortfolio() { calls << QStringLiteral("loadRealPortfolio"); }
    void setAccount(const QString& value) { account = value; }
};

class TestPortfolioView : public QObject
{
    Q_OBJECT

private slots:
    void cellValues_data();
    void cellValues();
    void modelValueRoles_data();
    void modelValueRoles();
    void totals();
    void rowPainting_data();
    void rowPainting();
    void comboEditorsNarrowByRow_data();
    void comboEditorsNarrowByRow();
    void actionsPerModel();
    void exportOfFlags();
    void dropAddsPositions();
};

void TestPortfolioView::cellValues_data()
{
    QTest::addColumn<QString>("secName");
    QTest::addColumn<qint64>("pos");
    QTest::addColumn<int>("flag");
    QTest::newRow("future") << "RI-3.30" << qint64(-7) << 0;
    QTest::newRow("call, market values") << "RI150000CA" << qint64(3) << 0;
    QTest::newRow("put, model values in use") << "RI145000PA" << qint64(-2) << 3;
    QTest::newRow("security gone") << "RI155000CA" << qint64(4) << 3;
}

void TestPortfolioView::cellValues()
{
    QFETCH(QString, secName);
    QFETCH(qint64, pos);
    QFETCH(int, flag);
    PortfolioFixture f;
    Record row = f.makeRow(secName, pos, flag);
    const char* const greeks[] = {"delta", "gamma", "vega", "theta"};
    const short greekScales[] = {2, 5, 2, 2};
    // The row's own valuation, far from the market's.
    const decimal own[] = {decimal(-4321, 4), decimal(123456, 8), decimal(98765, 3),
                           decimal(-5555, 3)};
    for (int i = 0; i < 4; ++i)
        row.data(QLatin1String(greeks[i])) = own[i];
    row.data(QStringLiteral("miv")) = decimal(4567, 2);
    row.data(QStringLiteral("mp")) = decimal(1234000000, 5);
    // No expiry of its own: the security's shows.
    row.data(QStringLiteral("expdate")).setNull();

    if (QTest::currentDataTag() == QLatin1String("security gone")) {
        f.market.delist(secName);
        for (const char* column :
             {"sectype", "strike", "volat", "theor_price", "delta", "gamma", "vega", "theta", "bid",
              "ask", "price", "cur_kotir_real", "miv", "mp", "expdate", "days_to_exercise"})
            QVERIFY2(cell(f, row, column).toString().isEmpty(), column);
        return;
    }

    const bool future = secName == QLatin1String("RI-3.30");
    QCOMPARE(cell(f, row, "expdate").toString(), QStringLiteral("20.03.2030"));
    QCOMPARE(cell(f, row, "days_to_exercise").toInt(), 18);
    QCOMPARE(cell(f, row, "sectype").toString(), future ? QStringLiteral("Фьючерс")
                                                 : secName.endsWith(QLatin1String("CA"))
                                                     ? QStringLiteral("Колл")
                                                     : QStringLiteral("Пут"));
    for (int i = 0; i < 4; ++i) {
        decimal expected;
        if (future)
            expected = i == 0 ? decimal(pos, 0) : decimal::zero;
        else
            expected = ((flag & 1) ? own[i] : market(f, secName, greeks[i])) * pos;
        QCOMPARE(shownDecimal(f, row, greeks[i]), scaled(expected, greekScales[i]));
        QCOMPARE(shownDecimal(f, row, greeks[i]).scale(), greekScales[i]);
    }
    // Market data by kind of security, prices with the security's decimals (0 here).
    QCOMPARE(shownDecimal(f, row, "price"), market(f, secName, "price"));
    QCOMPARE(shownDecimal(f, row, "price").scale(), short(0));
    QCOMPARE(cell(f, row, "cur_kotir_real").isValid(), future);
    QCOMPARE(cell(f, row, "strike").isValid(), !future);
    if (!future) {
        QCOMPARE(shownDecimal(f, row, "strike"), market(f, secName, "strike"));
        QCOMPARE(shownDecimal(f, row, "volat"), scaled(market(f, secName, "volat"), 2));
    }
    // A model volatility means nothing for a future; its model price does.
    QCOMPARE(cell(f, row, "miv").isValid(), !future);
    QCOMPARE(shownDecimal(f, row, "mp"), decimal(12340, 0));
    QCOMPARE(cell(f, row, "mp", Qt::EditRole).toString(), decimal(12340, 0).toSystemString());
}

void TestPortfolioView::modelValueRoles_data()
{
    // Per flag: in use, fixed and shown, for miv then mp.
    QTest::addColumn<int>("flag");
    QTest::addColumn<QVector<bool>>("expected");
    QTest::newRow("market") << 0 << QVector<bool>{false, false, true, false, false, true};
    QTest::newRow("in use, none fixed")
        << 1 << QVector<bool>{false, false, true, false, false, true};
    QTest::newRow("miv fixed, off") << 2 << QVector<bool>{false, true, true, false, false, false};
    QTest::newRow("miv fixed, in use") << 3 << QVector<bool>{true, true, true, false, false, true};
    QTest::newRow("mp fixed, off") << 4 << QVector<bool>{false, false, false, false, true, true};
    QTest::newRow("mp fixed, in use") << 5 << QVector<bool>{false, false, true, true, true, true};
}

void TestPortfolioView::modelValueRoles()
{
    QFETCH(int, flag);
    QFETCH(QVector<bool>, expected);
    PortfolioFixture f;
    const QVariant miv = QVariant::fromValue(decimal(3000, 2)),
                   mp = QVariant::fromValue(decimal(1500000000, 5));
    const Record option = f.makeRow(Call, 1, flag, miv, mp);
    const Record future = f.makeRow(Future, 1, flag, miv, mp);
    QVector<bool> actual;
    for (const char* column : {"miv", "mp"}) {
        actual << cell(f, option, column, MivMpColumnDelegate::InUseRole).toBool()
               << cell(f, option, column, MivMpColumnDelegate::FixedRole).toBool()
               << cell(f, option, column).isValid();
    }
    QCOMPARE(actual, expected);
    // A future has no model volatility in any state.
    QVERIFY(!cell(f, future, "miv").isValid());
    QVERIFY(!cell(f, future, "miv", MivMpColumnDelegate::FixedRole).toBool());
}

void TestPortfolioView::totals()
{
    PortfolioFixture f;
    PortfolioTotalModel totals(f.model.get());
    new QAbstractItemModelTester(&totals, QAbstractItemModelTester::FailureReportingMode::Fatal,
                                 &totals);
    const int delta = f.model->fieldIndex(QStringLiteral("delta"));
    const int theta = f.model->fieldIndex(QStringLiteral("theta"));
    auto total = [&totals](int column) {
        return decimal::fromVariant(totals.index(0, column).data());
    };
    // An empty portfolio sums to zeros in the four columns and shows nothing elsewhere.
    for (const char* greek : {"delta", "gamma", "vega", "theta"}) {
        const QModelIndex sum = totals.index(0, f.model->fieldIndex(QLatin1String(greek)));
        QVERIFY(sum.data().isValid());
        QCOMPARE(decimal::fromVariant(sum.data()), decimal::zero);
        QVERIFY(sum.data(Qt::UserRole + 1).toBool());
    }
    QVERIFY(!totals.index(0, 0).data().isValid());
    QVERIFY(!totals.index(0, 0).data(Qt::UserRole + 1).toBool());

    const Record future = f.addRow(Future, 2);
    const Record call = f.addRow(Call, -1);
    const Record weekly = f.addRow(QStringLiteral("RI150000CB"), 3);
    f.addRow(QStringLiteral("Si90000CA"), 5); // another base code: never counted
    auto shown = [&f, delta](const Record& row) {
        return decimal::fromVariant(f.model->index(f.rowOf(row), delta).data());
    };
    QCOMPARE(total(delta), shown(future) + shown(call) + shown(weekly));
    QVERIFY(shown(call) != decimal::zero && shown(weekly) != decimal::zero);

    // A cleared check box takes the row out at once.
    f.set(call, {{QStringLiteral("flags"), 0}});
    QCOMPARE(total(delta), shown(future) + shown(weekly));
    // So does the expiry of its security, at the next count.
    f.market.setField(QStringLiteral("RI150000CB"), QStringLiteral("lasttime"),
                      QVariant::fromValue(datetime(QDateTime(QDate(2030, 3, 13), QTime(19, 0)))));
    totals.updateTotal();
    QCOMPARE(total(delta), decimal(200, 2));

    // Only a change that spans a Greek column counts again.
    QSignalSpy recounts(&totals, &QAbstractItemModel::dataChanged);
    emit f.model->dataChanged(f.model->index(0, 0), f.model->index(0, delta - 1));
    QCOMPARE(recounts.count(), 0);
    emit f.model->dataChanged(f.model->index(0, theta), f.model->index(0, theta));
    QCOMPARE(recounts.count(), 1);
}

void TestPortfolioView::rowPainting_data()
{
    QTest::addColumn<QString>("secName");
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("grey");
    const int selected = QStyle::State_Selected, hover = QStyle::State_MouseOver;
    QTest::newRow("active") << "RI150000CA" << 0 << false;
    QTest::newRow("active, selected") << "RI150000CA" << selected << false;
    QTest::newRow("expired") << "RI150000CB" << 0 << true;
    QTest::newRow("expired, selected") << "RI150000CB" << selected << true;
    QTest::newRow("expired, under the mouse") << "RI150000CB" << hover << false;
    QTest::newRow("other base code, selected") << "Si90000CA" << selected << true;
    QTest::newRow("security gone") << "RI155000PA" << 0 << true;
}

void TestPortfolioView::rowPainting()
{
    QFETCH(QString, secName);
    QFETCH(int, state);
    QFETCH(bool, grey);
    PortfolioFixture f;
    // The model volatility fixed and in use.
    const Record row = f.addRow(secName, 1, 3, QVariant::fromValue(decimal(3000, 2)));
    f.market.setField(QStringLiteral("RI150000CB"), QStringLiteral("lasttime"),
                      QVariant::fromValue(datetime(QDateTime(QDate(2030, 3, 14), QTime(10, 0)))));
    if (QTest::currentDataTag() == QLatin1String("security gone"))
        f.market.delist(secName);

    PortfolioItemDelegate<OptionProbe> delegate;
    QImage image(16, 16, QImage::Format_ARGB32);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.state = QStyle::State_Enabled | QStyle::StateFlag(state);
    auto paint = [&](const char* column) {
        delegate.paint(&painter, option,
                       f.model->index(f.rowOf(row), f.model->fieldIndex(QLatin1String(column))));
        return delegate.last;
    };
    const QPalette palette = paint("sec_name").palette;
    QCOMPARE(palette.brush(QPalette::Text) == delegate.greyBrush(), grey);
    QCOMPARE(palette.brush(QPalette::HighlightedText) == delegate.greyBrush(), grey);

    // A row in the calculation marks its fixed model value, in the colour of model values.
    const bool selected = state & QStyle::State_Selected;
    const QColor modelColour = ViewsColorManager::color(
        ViewsColorManager::OptionCalculator, selected ? 1 : 0, ViewsColorManager::ModelValue);
    QVERIFY(modelColour.isValid());
    const QStyleOptionViewItem miv = paint("miv");
    QCOMPARE(miv.font.weight() == QFont::Bold, !grey);
    QCOMPARE(miv.backgroundBrush.color() == modelColour, !grey);
    QCOMPARE(miv.palette.color(QPalette::Highlight) == modelColour, !grey && selected);
    const QStyleOptionViewItem mp = paint("mp");
    QVERIFY(mp.font.weight() != QFont::Bold);
    QCOMPARE(mp.backgroundBrush.style(), Qt::NoBrush);
}

void TestPortfolioView::comboEditorsNarrowByRow_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<QStringList>("offered");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("security");
    QTest::newRow("strike of the series and type")
        << "strike" << QStringList{"140000", "145000", "150000", "155000", "160000"} << "150000"
        << "155000" << "RI155000CA";
    QTest::newRow("expiry of the strike and type") << "expdate"
        << QStringList{"13.03.2030", "20.03.2030"} << "20.03.2030" << "13.03.2030" << "RI150000CB";
    QTest::newRow("type of the strike and expiry")
        << "sectype" << QStringList{"Колл", "Пут"} << "Колл" << "Пут" << "RI150000PA";
}

void TestPortfolioView::comboEditorsNarrowByRow()
{
    QFETCH(QString, column);
    QFETCH(QStringList, offered);
    QFETCH(QString, current);
    QFETCH(QString, chosen);
    QFETCH(QString, security);
    PortfolioFixture f;
    f.securityModel.build();
    const Record row = f.addRow(Call, 1);
    const Record gone = f.addRow(QStringLiteral("RI160000PA"), 1);
    f.market.delist(QStringLiteral("RI160000PA"));
    PortfolioTableView view;
    view.setModel(f.model.get());

    const int viewColumn = f.model->fieldIndex(column);
    QAbstractItemDelegate* delegate = view.itemDelegateForColumn(viewColumn);
    QVERIFY(delegate);
    const QModelIndex index = f.model->index(f.rowOf(row), viewColumn);
    std::unique_ptr<QWidget> editor(
        delegate->createEditor(view.viewport(), QStyleOptionViewItem(), index));
    auto* box = qobject_cast<QComboBox*>(editor.get());
    QVERIFY(box);
    delegate->setEditorData(box, index);
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts << box->itemText(i);
    texts.sort();
    QCOMPARE(texts, offered);
    QCOMPARE(box->currentText(), current);

    // The model is handed the security chosen.
    box->setCurrentIndex(box->findText(chosen));
    WriteRecorder recorder;
    delegate->setModelData(box, &recorder, index);
    QCOMPARE(recorder.writtenRole, int(Qt::EditRole));
    QCOMPARE(recorder.written.value<Record>(), f.market.security(security));

    // A row whose security is gone has nothing to choose from.
    const QModelIndex goneIndex = f.model->index(f.rowOf(gone), viewColumn);
    QVERIFY(!delegate->createEditor(view.viewport(), QStyleOptionViewItem(), goneIndex));

    // The name offers every live security of the base code, the row's own chosen.
    const int names = f.model->fieldIndex(QStringLiteral("sec_name"));
    std::unique_ptr<QWidget> nameEditor(view.itemDelegateForColumn(names)->createEditor(
        view.viewport(), QStyleOptionViewItem(), f.model->index(f.rowOf(row), names)));
    auto* nameBox = qobject_cast<QComboBox*>(nameEditor.get());
    QVERIFY(nameBox);
    QCOMPARE(nameBox->count(), f.securityModel.rowCount());
    QCOMPARE(nameBox->currentText(), Call);
}

void TestPortfolioView::actionsPerModel()
{
    PortfolioFixture f;
    FakeCalcWidget widget;
    PortfolioModel real(f.market.positions(), &f.securityModel);
    real.setAccount(QStringLiteral("TEST01"));
    real.setBaseCode(QStringLiteral("RI"));
    PortfolioTableView modelView(&widget);
    modelView.setModel(f.model.get());
    PortfolioTableView realView(&widget);
    realView.setModel(&real);

    auto ids = [](const QList<QAction*>& actions) {
        QStringList list;
        for (QAction* action : actions)
            if (auto* bound = qobject_cast<Action*>(action))
                list << QString::fromLatin1(bound->id());
        return list;
    };
    const QStringList edits{"OC.addPosition", "OC.addApproach", "OC.delPosition", "OC.clear",
                            "OC.import"};
    QCOMPARE(ids(modelView.modelActions()), (QStringList{"OC.undo", "OC.redo"} + edits));
    QCOMPARE(ids(modelView.toolBar()->actions()), edits);
    QCOMPARE(ids(realView.modelActions()), (QStringList{"OC.addPostponedOrders", "OC.loadReal"}));
    // The real portfolio's tool bar ends with the account, pushed to the right.
    const QList<QAction*> realBar = realView.toolBar()->actions();
    QCOMPARE(realBar.size(), 5);
    QVERIFY(realBar.at(2)->isSeparator());
    QCOMPARE(static_cast<QWidgetAction*>(realBar.at(4))->defaultWidget(),
             static_cast<QWidget*>(realView.accountSelector()));

    // Clearing wants rows, deleting a selection.
    QAction* clear = modelView.action("OC.clear");
    QAction* remove = modelView.action("OC.delPosition");
    QVERIFY(!clear->isEnabled() && !remove->isEnabled());
    f.addRow(Future, 1);
    QVERIFY(clear->isEnabled() && !remove->isEnabled());
    modelView.selectRow(0);
    QVERIFY(remove->isEnabled());
    modelView.clearSelection();
    QVERIFY(!remove->isEnabled());

    // Each command reaches its slot of the calculator widget.
    modelView.selectRow(0);
    for (QAction* action : modelView.modelActions() + realView.modelActions())
        action->trigger();
    QCOMPARE(widget.calls,
             (QStringList{"addVirtualPortfolioPos", "addApproach", "delVirtualPortfolioPos",
                          "clearVirtualPortfolio", "importDataToVirtualPortfolio",
                          "addPostponedOrders", "loadRealPortfolio"}));
    realView.accountSelector()->setAccount(QStringLiteral("TEST02"));
    QCOMPARE(widget.account, QStringLiteral("TEST02"));

    // Undo and redo follow the stack they are bound to, and leave it alone once unbound.
    QUndoStack stack;
    modelView.setUndoStack(&stack);
    QAction* undo = modelView.action("OC.undo");
    QAction* redo = modelView.action("OC.redo");
    QVERIFY(!undo->isEnabled() && !redo->isEnabled());
    stack.push(new QUndoCommand(QStringLiteral("изменение позиции")));
    QCOMPARE(undo->text(), QStringLiteral("Отменить изменение позиции"));
    undo->trigger();
    QCOMPARE(stack.index(), 0);
    QVERIFY(!undo->isEnabled() && redo->isEnabled());
    QCOMPARE(redo->text(), QStringLiteral("Вернуть изменение позиции"));
    redo->trigger();
    QCOMPARE(stack.index(), 1);
    modelView.setUndoStack(nullptr);
    undo->trigger();
    QCOMPARE(stack.index(), 1);
    QVERIFY(!undo->isEnabled());

    // Totals, editors and drops belong to the model portfolio only.
    auto* totalRow = qobject_cast<FrozenRowView*>(modelView.footerWidget());
    QVERIFY(totalRow);
    QVERIFY(qobject_cast<PortfolioTotalModel*>(totalRow->model()));
    QVERIFY(!realView.footerWidget());
    QCOMPARE(modelView.dragDropMode(), QAbstractItemView::DropOnly);
    QCOMPARE(realView.dragDropMode(), QAbstractItemView::DragOnly);
    QVERIFY(!realView.itemDelegateForColumn(real.fieldIndex(QStringLiteral("strike"))));

    // Another model takes the view over with parts of its own.
    modelView.setModel(&real);
    QVERIFY(!modelView.footerWidget());
    QCOMPARE(ids(modelView.modelActions()), ids(realView.modelActions()));
    QCOMPARE(modelView.toolBar()->actions().size(), 5);
    QVERIFY(!modelView.itemDelegateForColumn(f.model->fieldIndex(QStringLiteral("strike"))));

    // Without a calculator widget the commands reach nothing, and nothing breaks.
    PortfolioTableView alone;
    alone.setModel(f.model.get());
    for (QAction* action : alone.modelActions())
        action->trigger();
}

void TestPortfolioView::exportOfFlags()
{
    PortfolioFixture f;
    const Record kept = f.addRow(Call, 1);
    const Record gone = f.addRow(QStringLiteral("RI155000CA"), 1);
    f.set(gone, {{QStringLiteral("flags"), 6}});
    f.market.delist(QStringLiteral("RI155000CA"));
    const int flag = f.model->fieldIndex(QStringLiteral("miv_mp_flag"));
    const int flags = f.model->fieldIndex(QStringLiteral("flags"));
    ExporterProxyPortfolioModel proxy(f.model.get(), {flag, flags});
    const int keptFlag = PortfolioFixture::flag(kept);
    auto exported = [&](const Record& row, int column) {
        return proxy.index(f.rowOf(row), column).data();
    };
    QCOMPARE(exported(kept, 0), QVariant(keptFlag));
    QCOMPARE(exported(kept, 1), QVariant(1));
    QVERIFY(!exported(gone, 0).isValid());
    QCOMPARE(exported(gone, 1), QVariant(0));
}

void TestPortfolioView::dropAddsPositions()
{
    PortfolioFixture f;
    QVERIFY(f.model->mimeTypes().contains(PortfolioMime));
    PortfolioModel real(f.market.positions(), &f.securityModel);
    real.setAccount(QStringLiteral("TEST01"));
    real.setBaseCode(QStringLiteral("RI"));
    QModelIndexList rows;
    for (int row = 0; row < real.rowCount(); ++row)
        rows << real.index(row, 0);
    std::unique_ptr<QMimeData> mime(real.mimeData(rows));
    PortfolioTableView view;
    view.setModel(f.model.get());
    // The toolkit delivers a drop only to the widget that took the drag's entry.
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, mime.get(), Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(view.viewport(), &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view.viewport(), &drop);
    QVERIFY(drop.isAccepted());
    QCOMPARE(f.model->rowCount(), 3);
    QCOMPARE(f.model->undoStack()->count(), 1);
}

QTEST_MAIN(TestPortfolioView)
#include "tst_portfolioview.moc"
