// The activity tab in the settings window of a started application, over its
// real database and real files.

#include <QAction>
#include <QDateTime>
#include <QFile>
#include <QItemSelectionModel>
#include <QListView>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>

#include <qcoro/qcorotask.h>

#include "app/applaunch.h"
#include "app/appworkflows.h"
#include "app/settingsviewmodel.h"
#include "filesystemfixtures.h"
#include "gui/activitytab.h"
#include "gui/settingswindow.h"
#include "history/activityviewmodel.h"
#include "history/database.h"
#include "history/undoalertstate.h"
#include "profileservices.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

class ActivityTabTest : public QObject
{
    Q_OBJECT

private slots:

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(m_dir->filePath(u"files"_s)));
        m_profile = std::make_unique<ProfileServices>(m_dir->path());
        m_launcher = std::make_unique<AppLauncher>(m_profile->services());
        auto starting = m_launcher->start();
        QVERIFY(QCoro::waitFor(std::move(starting)));
        m_database = m_launcher->database();
        m_activity = &m_launcher->workflows()->activity();
        m_window = std::make_unique<SettingsWindow>(*m_launcher->viewModel(), *m_launcher->workflows(), nullptr);
        m_asked.clear();
        tab().setAlertPresenter([this](const UndoAlertState &state) -> QCoro::Task<QString> {
            m_asked.append(state);
            co_return m_answer;
        });
    }

    void cleanup()
    {
        m_window.reset();
        m_launcher.reset();
        m_profile.reset();
        m_dir.reset();
    }

    void scrollingToEndLoadsMore()
    {
        storeMany(ActivityViewModel::FirstPageSize + ActivityViewModel::NextPageSize + 5);
        openWindow(ActivityViewModel::FirstPageSize);
        QScrollBar *scrollBar = tab().list()->verticalScrollBar();
        scrollBar->setValue(scrollBar->maximum());
        QTRY_COMPARE(tab().records().size(), ActivityViewModel::FirstPageSize + ActivityViewModel::NextPageSize);
        QCOMPARE(tab().records().first().newName, u"renamed55.txt"_s);
        QCOMPARE(tab().records().last().newName, u"renamed6.txt"_s);
    }

    void occupiedOriginalAsks_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<int>("rowsAfter");
        QTest::newRow("dismissed-keeps-record") << QString() << 1;
        QTest::newRow("remove-record-forgets-it") << u"Remove Record"_s << 0;
    }

    void occupiedOriginalAsks()
    {
        QFETCH(QString, answer);
        QFETCH(int, rowsAfter);
        storeMany(1);
        QVERIFY(writeFile(file(u"original1.txt"_s), "someone else"));
        openWindow(1);
        m_answer = answer;
        tab().selectRows({ 0 });
        tab().undoAction()->trigger();
        QTRY_COMPARE(m_asked.size(), 1);
        QCOMPARE(m_asked.first().title(), u"Cannot Undo"_s);
        QCOMPARE(m_asked.first().message(), u"A file already exists at the original location \"original1.txt\"."_s);
        QTRY_COMPARE(tab().records().size(), rowsAfter);
        QCOMPARE(readFile(file(u"original1.txt"_s)), QByteArray("someone else"));
        QCOMPARE(readFile(file(u"renamed1.txt"_s)), QByteArray("renamed1.txt"));
    }

    void undoFromListRestoresFile()
    {
        storeMany(2);
        openWindow(2);
        // Newest first: the row for original2.txt.
        tab().selectRows({ 0 });
        tab().undoAction()->trigger();
        QTRY_COMPARE(tab().records().size(), 1);
        QVERIFY(m_asked.isEmpty());
        QCOMPARE(readFile(file(u"original2.txt"_s)), QByteArray("renamed2.txt"));
        QVERIFY(!QFile::exists(file(u"renamed2.txt"_s)));
        QCOMPARE(tab().records().at(0).newName, u"renamed1.txt"_s);
    }

    // Keys act on every selected rename: Delete forgets the records and
    // leaves the files, Ctrl+Z puts the files back.
    void keysActOnTheSelection()
    {
        storeMany(4);
        openWindow(4);
        tab().list()->setFocus();
        tab().selectRows({ 0, 2 });
        QTest::keyClick(tab().list(), Qt::Key_Delete);
        QTRY_COMPARE(tab().records().size(), 2);
        QCOMPARE(tab().records().at(0).newName, u"renamed3.txt"_s);
        QCOMPARE(tab().records().at(1).newName, u"renamed1.txt"_s);
        QVERIFY(QFile::exists(file(u"renamed4.txt"_s)) && QFile::exists(file(u"renamed2.txt"_s)));

        tab().selectRows({ 0, 1 });
        QTest::keyClick(tab().list(), Qt::Key_Z, Qt::ControlModifier);
        QTRY_COMPARE(tab().records().size(), 0);
        QVERIFY(QFile::exists(file(u"original3.txt"_s)) && QFile::exists(file(u"original1.txt"_s)));
        QVERIFY(m_asked.isEmpty());
    }

    void undoAllEmptiesTheList()
    {
        storeMany(3);
        openWindow(3);
        m_answer = u"Undo All"_s;
        m_window->findChild<QPushButton *>(u"undoAll"_s)->click();
        QTRY_COMPARE(m_asked.size(), 1);
        QTRY_VERIFY(!m_activity->isUndoingAll());
        QTRY_COMPARE(tab().records().size(), 0);
        for (int i = 1; i <= 3; ++i)
            QVERIFY(QFile::exists(file(u"original%1.txt"_s.arg(i))));
    }

    // A rename the command line records while the window is open shows when
    // the user comes back to the tab.
    void renameRecordedElsewhereShowsOnReturn()
    {
        storeMany(1);
        openWindow(1);
        tab().selectRows({ 0 });
        m_window->selectTab(SettingsTab::About);
        storeMany(2, 2);
        m_window->selectTab(SettingsTab::Activity);
        QTRY_COMPARE(tab().records().size(), 3);
        // The rebuilt list keeps the user's selection on the same rename.
        const QModelIndexList selected = tab().list()->selectionModel()->selectedRows();
        QCOMPARE(selected.size(), 1);
        QCOMPARE(tab().records().at(selected.first().row()).newName, u"renamed1.txt"_s);
    }

private:
    ActivityTab &tab() { return *m_window->activityTab(); }

    QString file(const QString &name) const { return m_dir->filePath(u"files/"_s + name); }

    // Renames of original<i>.txt to renamed<i>.txt from i = first, later by i,
    // on disk.
    void storeMany(int count, int first = 1)
    {
        for (int i = first; i < first + count; ++i) {
            ProcessedFile record;
            record.originalName = u"original%1.txt"_s.arg(i);
            record.newName = record.title = u"renamed%1.txt"_s.arg(i);
            record.originalPath = file(record.originalName);
            record.newPath = file(record.newName);
            record.aiProvider = u"manual"_s;
            record.processedAt = QDateTime(QDate(2026, 11, 1), QTime(0, 0), Qt::UTC).addSecs(i).toString(Qt::ISODate);
            record.source = ProcessedFileSource::Batch;
            QVERIFY(writeFile(record.newPath, record.newName.toUtf8()));
            QVERIFY(m_database->insertProcessedFile(record));
        }
    }

    void openWindow(int expectedRows)
    {
        m_window->show();
        m_window->selectTab(SettingsTab::Activity);
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QTRY_COMPARE(tab().records().size(), expectedRows);
        QTRY_VERIFY(!m_activity->isLoadingActivity());
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ProfileServices> m_profile;
    std::unique_ptr<AppLauncher> m_launcher;
    Database *m_database = nullptr;
    ActivityViewModel *m_activity = nullptr;
    std::unique_ptr<SettingsWindow> m_window;
    QString m_answer; // Every alert's answer.
    QList<UndoAlertState> m_asked;
};

QTEST_MAIN(ActivityTabTest)
#include "activitytabtest.moc"
