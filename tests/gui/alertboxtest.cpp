// The confirmation boxes of the desktop application, on the offscreen
// platform: Enter never confirms a destructive action, and the box is wide
// enough for its title.

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include <qcoro/qcorotask.h>

#include "gui/alertbox.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

class AlertBoxTest : public QObject
{
    Q_OBJECT

private slots:

    void safeDefaultAndWholeTitle_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<QString>("defaultButton");

        QTest::newRow("undo-all") << u"Undo All Renames?"_s << QStringList { u"Undo All"_s } << u"Cancel"_s;
        QTest::newRow("withdraw") << u"Withdraw AI Data Consent?"_s << QStringList { u"Withdraw"_s } << u"Cancel"_s;
        QTest::newRow("information-only") << u"Consent Not Stored"_s << QStringList {} << u"OK"_s;
    }

    void safeDefaultAndWholeTitle()
    {
        QFETCH(QString, title);
        QFETCH(QStringList, buttons);
        QFETCH(QString, defaultButton);

        auto answer = showAlert(nullptr, title, u"A longer explanation of what happens."_s, buttons);
        const auto openBox = []() -> QMessageBox * {
            for (QWidget *widget : QApplication::topLevelWidgets()) {
                if (auto *box = qobject_cast<QMessageBox *>(widget); box && box->isVisible())
                    return box;
            }
            return nullptr;
        };
        QTRY_VERIFY(openBox());
        QMessageBox *box = openBox();
        QPushButton *chosen = box->defaultButton();
        if (defaultButton == u"OK"_s && !chosen)
            chosen = qobject_cast<QPushButton *>(box->buttons().value(0));
        QVERIFY(chosen);
        QCOMPARE(chosen->text(), defaultButton);
        QVERIFY2(box->sizeHint().width() >= box->fontMetrics().horizontalAdvance(title),
                 qPrintable(QString::number(box->sizeHint().width())));
        QTest::keyClick(box, Qt::Key_Escape);
        QCoro::waitFor(std::move(answer));
    }
};

QTEST_MAIN(AlertBoxTest)
#include "alertboxtest.moc"
