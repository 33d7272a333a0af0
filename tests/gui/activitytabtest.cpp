// The activity tab and its window over a real database and real files: what
// the list shows, what the user is asked, and what the answers do.

#include <QApplication>
#include <QDateTime>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include <qcoro/qcorotask.h>

#include "filesystemfixtures.h"
#include "gui/activityrow.h"
#include "gui/activitytab.h"
#include "gui/alertbox.h"
#include "gui/settingswindow.h"
#include "history/activityviewmodel.h"
#include "history/database.h"
#include "history/undoalertstate.h"
#include "history/undoignoreservice.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

// The number of the record made `index`-th, as its names carry it.
QString numbered(const QString &stem, int index)
{
    return stem + QString::number(index) + u".txt"_s;
}

// Answers every alert with `answer` and keeps what was asked.
struct ScriptedUser
{
    QString answer;
    QList<UndoAlertState> asked;

    ActivityTab::AlertPresenter presenter()
    {
        return [this](const UndoAlertState &state) -> QCoro::Task<QString> {
            asked.append(state);
            co_return answer;
        };
    }
};

bool labelShown(const QWidget *root, const QString &text)
{
    const auto labels = root->findChildren<QLabel *>();
    return std::any_of(
        labels.begin(), labels.end(), [&](const QLabel *label) { return label->text() == text && label->isVisible(); });
}

QStringList newNames(const ActivityTab &tab)
{
    QStringList names;
    for (const ActivityRow *row : tab.rows())
        names.append(row->record().newName);
    return names;
}

} // namespace

class ActivityTabTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void showsRecordsNewestFirst();
    void emptyStateAfterLoading();
    void scrollingToEndLoadsMore();
    void occupiedOriginalAsks_data();
    void occupiedOriginalAsks();
    void occupiedOriginalInMessageBox();
    void undoAll_data();
    void undoAll();
    void clear_data();
    void clear();
    void missingFileOfferedForRemoval();
    void closingHidesWindow();

private:
    // Records a rename of original<index> to renamed<index>, with the renamed
    // file on disk, each later than the one before.
    ProcessedFile store(int index);
    void storeMany(int count);
    // Opens the window on the Activity tab and waits for the first page.
    void openWindow(int expectedRows);

    ActivityTab &tab() { return *m_window->activityTab(); }

    QPushButton *rowButton(int row, const QString &name)
    {
        return tab().rows().at(row)->findChild<QPushButton *>(name);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<UndoIgnoreService> m_undoIgnore;
    std::unique_ptr<ActivityViewModel> m_activity;
    std::unique_ptr<SettingsWindow> m_window;
    ScriptedUser m_user;
};

void ActivityTabTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QVERIFY(QDir().mkpath(m_dir->filePath(u"files"_s)));
    auto database = Database::open(m_dir->filePath(u"data"_s));
    QVERIFY2(database.ok(), qPrintable(database.error()));
    m_database = std::move(database).value();
    m_undoIgnore = std::make_unique<UndoIgnoreService>();
    m_activity = std::make_unique<ActivityViewModel>(*m_database, *m_undoIgnore);
    m_window = std::make_unique<SettingsWindow>(*m_activity);
    m_user = ScriptedUser();
    tab().setAlertPresenter(m_user.presenter());
}

void ActivityTabTest::cleanup()
{
    m_window.reset();
    m_activity.reset();
    m_undoIgnore.reset();
    m_database.reset();
    m_dir.reset();
}

ProcessedFile ActivityTabTest::store(int index)
{
    const QString folder = m_dir->filePath(u"files"_s);
    ProcessedFile record;
    record.originalName = numbered(u"original"_s, index);
    record.newName = numbered(u"renamed"_s, index);
    record.originalPath = folder + u'/' + record.originalName;
    record.newPath = folder + u'/' + record.newName;
    record.title = record.newName;
    record.aiProvider = u"manual"_s;
    record.processedAt = QDateTime(QDate(2026, 11, 1), QTime(0, 0), Qt::UTC).addSecs(index).toString(Qt::ISODate);
    record.source = ProcessedFileSource::Batch;
    if (!writeFile(record.newPath, record.newName.toUtf8()))
        return {};
    const Result<qint64> id = m_database->insertProcessedFile(record);
    if (!id.ok())
        return {};
    record.id = id.value();
    return record;
}

void ActivityTabTest::storeMany(int count)
{
    for (int i = 1; i <= count; ++i)
        QVERIFY(store(i).id.has_value());
}

void ActivityTabTest::openWindow(int expectedRows)
{
    m_window->show();
    m_window->showActivity();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QTRY_COMPARE(tab().rows().size(), expectedRows);
    QTRY_VERIFY(!m_activity->isLoadingActivity());
}

void ActivityTabTest::showsRecordsNewestFirst()
{
    storeMany(3);
    QVERIFY(labelShown(m_window.get(), u"Loading activity..."_s) || !m_window->isVisible());
    openWindow(3);
    QCOMPARE(newNames(tab()), (QStringList { u"renamed3.txt"_s, u"renamed2.txt"_s, u"renamed1.txt"_s }));
    QVERIFY(labelShown(m_window.get(), u"Recent Activity"_s));
    QVERIFY(!labelShown(m_window.get(), u"No activity yet"_s));
    QCOMPARE(m_window->windowTitle(), u"Nomly"_s);
    QVERIFY(m_window->minimumWidth() >= 780 && m_window->minimumHeight() >= 640);
}

void ActivityTabTest::emptyStateAfterLoading()
{
    openWindow(0);
    QTRY_VERIFY(labelShown(m_window.get(), u"No activity yet"_s));
    QVERIFY(labelShown(m_window.get(), u"Renamed files from Monitor and AI Rename will appear here."_s));
    QVERIFY(!labelShown(m_window.get(), u"Loading activity..."_s));
    QVERIFY(!m_window->findChild<QPushButton *>(u"undoAll"_s)->isEnabled());
    QVERIFY(!m_window->findChild<QPushButton *>(u"clear"_s)->isEnabled());
}

void ActivityTabTest::scrollingToEndLoadsMore()
{
    storeMany(ActivityViewModel::FirstPageSize + ActivityViewModel::NextPageSize + 5);
    openWindow(ActivityViewModel::FirstPageSize);
    auto *list = tab().findChild<QListWidget *>();
    QVERIFY(list->verticalScrollBar()->maximum() > 0);
    list->verticalScrollBar()->setValue(list->verticalScrollBar()->maximum());
    QTRY_COMPARE(tab().rows().size(), ActivityViewModel::FirstPageSize + ActivityViewModel::NextPageSize);
    // The list keeps newest first across pages, with nothing repeated.
    const QStringList names = newNames(tab());
    QCOMPARE(names.first(), numbered(u"renamed"_s, 55));
    QCOMPARE(names.last(), numbered(u"renamed"_s, 6));
    QCOMPARE(QSet<QString>(names.begin(), names.end()).size(), names.size());
}

void ActivityTabTest::occupiedOriginalAsks_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("rowsAfter");

    QTest::newRow("dismissed-keeps-record") << QString() << 1;
    QTest::newRow("remove-record-forgets-it") << u"Remove Record"_s << 0;
}

void ActivityTabTest::occupiedOriginalAsks()
{
    QFETCH(QString, answer);
    QFETCH(int, rowsAfter);

    const ProcessedFile record = store(1);
    QVERIFY(writeFile(record.originalPath, "someone else"));
    openWindow(1);
    m_user.answer = answer;

    rowButton(0, u"undo"_s)->click();
    QTRY_COMPARE(m_user.asked.size(), 1);
    const UndoAlertState &alert = m_user.asked.first();
    QCOMPARE(alert.title(), u"Cannot Undo"_s);
    QCOMPARE(alert.message(), u"A file already exists at the original location \"original1.txt\"."_s);
    QTRY_COMPARE(tab().rows().size(), rowsAfter);
    QCOMPARE(readFile(record.originalPath), QByteArray("someone else"));
    QCOMPARE(readFile(record.newPath), record.newName.toUtf8());
}

void ActivityTabTest::occupiedOriginalInMessageBox()
{
    const ProcessedFile record = store(1);
    QVERIFY(writeFile(record.originalPath, "someone else"));
    tab().setAlertPresenter([this](const UndoAlertState &state) { return showAlert(&tab(), state); });
    openWindow(1);

    rowButton(0, u"undo"_s)->click();
    QPointer<QMessageBox> box;
    QTRY_VERIFY((box = m_window->findChild<QMessageBox *>()) && box->isVisible());
    QCOMPARE(box->windowTitle(), u"Cannot Undo"_s);
    QCOMPARE(box->informativeText(), u"A file already exists at the original location \"original1.txt\"."_s);
    QStringList buttons;
    QAbstractButton *cancel = nullptr;
    for (QAbstractButton *button : box->buttons()) {
        buttons.append(button->text());
        if (button->text() == u"Cancel"_s)
            cancel = button;
    }
    buttons.sort();
    QCOMPARE(buttons, (QStringList { u"Cancel"_s, u"Remove Record"_s }));
    QVERIFY(cancel);
    cancel->click();
    QTRY_VERIFY(!box);
    QCOMPARE(tab().rows().size(), 1);
    QCOMPARE(readFile(record.originalPath), QByteArray("someone else"));
}

void ActivityTabTest::undoAll_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("rowsAfter");
    QTest::addColumn<bool>("undone");

    QTest::newRow("confirmed-restores-all") << u"Undo All"_s << 0 << true;
    QTest::newRow("cancelled-changes-nothing") << QString() << 3 << false;
}

void ActivityTabTest::undoAll()
{
    QFETCH(QString, answer);
    QFETCH(int, rowsAfter);
    QFETCH(bool, undone);

    storeMany(3);
    openWindow(3);
    m_user.answer = answer;
    QStringList progress;
    auto *progressLabel = tab().findChild<QLabel *>(u"progress"_s);
    connect(m_activity.get(), &ActivityViewModel::undoAllProgressChanged, this, [&] {
        if (progressLabel->isVisible())
            progress.append(progressLabel->text());
    });

    m_window->findChild<QPushButton *>(u"undoAll"_s)->click();
    QTRY_COMPARE(m_user.asked.size(), 1);
    QCOMPARE(m_user.asked.first().title(), u"Undo All Renames?"_s);
    QCOMPARE(m_user.asked.first().message(),
             u"This will restore all 3 files to their original names. This action cannot be undone."_s);
    QTRY_VERIFY(!m_activity->isUndoingAll());
    QTRY_COMPARE(tab().rows().size(), rowsAfter);

    for (int i = 1; i <= 3; ++i) {
        QCOMPARE(QFile::exists(m_dir->filePath(u"files/"_s + numbered(u"original"_s, i))), undone);
        QCOMPARE(QFile::exists(m_dir->filePath(u"files/"_s + numbered(u"renamed"_s, i))), !undone);
    }
    if (undone) {
        QCOMPARE(progress.last(), u"Undoing 3 of 3"_s);
        QVERIFY(!progressLabel->isVisible());
        QTRY_VERIFY(labelShown(m_window.get(), u"No activity yet"_s));
    } else {
        QVERIFY(progress.isEmpty());
    }
}

void ActivityTabTest::clear_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("rowsAfter");

    QTest::newRow("confirmed-forgets-all") << u"Clear"_s << 0;
    QTest::newRow("cancelled-keeps-all") << QString() << 2;
}

void ActivityTabTest::clear()
{
    QFETCH(QString, answer);
    QFETCH(int, rowsAfter);

    storeMany(2);
    openWindow(2);
    m_user.answer = answer;
    m_window->findChild<QPushButton *>(u"clear"_s)->click();
    QTRY_COMPARE(m_user.asked.size(), 1);
    QCOMPARE(m_user.asked.first().title(), u"Clear Activity?"_s);
    QCOMPARE(m_user.asked.first().message(),
             u"This will permanently remove all 2 activity records. File names on disk will not be changed."_s);
    QTRY_COMPARE(tab().rows().size(), rowsAfter);
    // Clearing never renames a file back.
    QVERIFY(QFile::exists(m_dir->filePath(u"files/renamed1.txt"_s)));
    QVERIFY(!QFile::exists(m_dir->filePath(u"files/original1.txt"_s)));
}

void ActivityTabTest::missingFileOfferedForRemoval()
{
    const ProcessedFile record = store(1);
    QVERIFY(QFile::remove(record.newPath));
    openWindow(1);
    m_user.answer = u"Remove Record"_s;
    rowButton(0, u"showInFolder"_s)->click();
    QTRY_COMPARE(m_user.asked.size(), 1);
    QCOMPARE(m_user.asked.first().title(), u"File Not Found"_s);
    QCOMPARE(m_user.asked.first().message(), u"The file \"renamed1.txt\" has been deleted or moved."_s);
    QTRY_COMPARE(tab().rows().size(), 0);
}

void ActivityTabTest::closingHidesWindow()
{
    openWindow(0);
    QPointer<SettingsWindow> window(m_window.get());
    QVERIFY(!m_window->close());
    QCoreApplication::processEvents();
    QVERIFY(window);
    QVERIFY(!m_window->isVisible());
    m_window->present();
    QVERIFY(m_window->isVisible());
}

QTEST_MAIN(ActivityTabTest)
#include "activitytabtest.moc"
