// AI Rename in the window of a started application: drops of real files and
// folders, a batch named by a local model on loopback, names edited in place,
// the rename on disk and its records in the activity list.

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <memory>

#include <qcoro/qcorotask.h>

#include "ai/remoteconfigservice.h"
#include "app/applaunch.h"
#include "app/appworkflows.h"
#include "app/settingsstore.h"
#include "app/settingsviewmodel.h"
#include "filesystemfixtures.h"
#include "gui/activitytab.h"
#include "gui/airenametab.h"
#include "gui/batchdropzone.h"
#include "gui/batchrenametablemodel.h"
#include "gui/guiapplication.h"
#include "gui/settingswindow.h"
#include "ollamapeer.h"
#include "profileservices.h"
#include "samplepdfs.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

using Model = BatchRenameTableModel;

// The model names a picture by what it shows and a note by a word of its
// text, and fails on a note with the word it cannot handle.
OllamaPeer::Answer answerFor(const OllamaPeer::Request &request)
{
    const QString prompt = request.prompt();
    if (request.json().value(u"messages"_s).toArray().first().toObject().contains(u"images"_s))
        return OllamaPeer::reply(u"{\"title\":\"Harbour Photo\"}"_s);
    if (prompt.contains(u"kestrel"_s))
        return OllamaPeer::failure(500, u"model crashed"_s);
    if (prompt.contains(u"ledger"_s))
        return OllamaPeer::reply(u"{\"title\":\"Invoice March\"}"_s);
    return OllamaPeer::reply(u"{\"title\":\"Harbour Survey\"}"_s);
}

QList<QUrl> localUrls(const QStringList &paths)
{
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls.append(QUrl::fromLocalFile(path));
    return urls;
}

} // namespace

class AIRenameTabTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir(m_dir->path()).mkpath(u"files"_s));
        m_profile = std::make_unique<ProfileServices>(m_dir->path(), ProfileServices::Keys::InFile);
        m_profile->defaults.setValue(SettingsStore::HasCompletedOnboardingKey, true);
        m_profile->defaults.setValue(ConsentState::HasAgreedToAIDataProcessingKey, true);
        m_ollama = std::make_unique<OllamaPeer>();
        m_ollama->answerWith(answerFor);
        m_gui = std::make_unique<GuiApplication>(m_profile->services());
        QVERIFY(QCoro::waitFor(m_gui->start()));
        SettingsViewModel &model = *m_gui->launcher().viewModel();
        Settings settings = model.settings();
        settings.aiProcessingMode = AIProcessingMode::Local;
        settings.localAIEndpoint = m_ollama->endpoint();
        model.setSettings(settings);
        QVERIFY(QCoro::waitFor(model.saveSettings()));
        // The list is watched: no notification is sent at the end.
        QVERIFY(QTest::qWaitForWindowActive(m_gui->settingsWindow()));
        QCOMPARE(m_gui->settingsWindow()->selectedTab(), SettingsTab::AIRename);
        m_alerts.clear();
        tab().setAlertPresenter(
            [this](const QString &title, const QString &message, const QStringList &) -> QCoro::Task<QString> {
                m_alerts.append(title + u": "_s + message);
                co_return QString();
            });
    }

    void cleanup()
    {
        // Analysis still under way ends before its application does.
        if (m_gui)
            QTRY_VERIFY_WITH_TIMEOUT(batch().isIdle() && !batch().isConfirmingRenames(), 30000);
        m_gui.reset();
        m_ollama.reset();
        m_profile.reset();
        m_dir.reset();
    }

    void dropLandsItems_data()
    {
        QTest::addColumn<QStringList>("dropped");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QStringList>("items");
        QTest::newRow("files-in-drop-order")
            << QStringList { u"b.txt"_s, u"a.txt"_s } << true << QStringList { u"b.txt"_s, u"a.txt"_s };
        // In name order, depth first; hidden, unsupported and the folders
        // themselves left out.
        QTest::newRow("folder-walked") << QStringList { u"folder"_s } << true
                                       << QStringList { u"c.txt"_s, u"inner.txt"_s, u"z.txt"_s };
        QTest::newRow("folder-after-file") << QStringList { u"b.txt"_s, u"folder"_s } << true
                                           << QStringList { u"b.txt"_s, u"c.txt"_s, u"inner.txt"_s, u"z.txt"_s };
        QTest::newRow("web-address-left-out")
            << QStringList { u"https://example.org/a.txt"_s, u"a.txt"_s } << true << QStringList { u"a.txt"_s };
        QTest::newRow("only-web-addresses-refused")
            << QStringList { u"https://example.org/a.txt"_s } << false << QStringList();
    }

    void dropLandsItems()
    {
        QFETCH(QStringList, dropped);
        QFETCH(bool, accepted);
        QFETCH(QStringList, items);
        for (const QString &name : { u"a.txt"_s,
                                     u"b.txt"_s,
                                     u"folder/c.txt"_s,
                                     u"folder/z.txt"_s,
                                     u"folder/sub/inner.txt"_s,
                                     u"folder/.hidden.txt"_s,
                                     u"folder/data.xyz"_s }) {
            QVERIFY(QDir(files()).mkpath(QFileInfo(name).path()));
            QVERIFY(writeFile(file(name), "A survey of the harbour walls."));
        }
        QList<QUrl> urls;
        for (const QString &name : std::as_const(dropped))
            urls.append(name.startsWith(u"https:"_s) ? QUrl(name) : QUrl::fromLocalFile(file(name)));

        QCOMPARE(drop(urls), accepted);
        QTRY_VERIFY(batch().isIdle());
        QCOMPARE(shownNames(), items);
        QCOMPARE(tab().table()->isVisible(), !items.isEmpty());
        QCOMPARE(tab().dropZone()->hint().startsWith(u"Drag & drop supported files or folders here"_s), true);
    }

    // What the drop zone says, as files are dragged over an empty batch and
    // over one with files.
    // The whole review: names from the model on loopback, one failure, one
    // name edited in place, then the rename on disk and its records.
    void reviewedBatchRenamesAndRecords()
    {
        QVERIFY(writeFile(file(u"notes.txt"_s), "A survey of the harbour walls and moorings, with repairs."));
        QVERIFY(writeFile(file(u"bill.txt"_s), "A ledger of harbour dues and mooring fees for March."));
        QVERIFY(writeFile(file(u"broken.txt"_s), "A kestrel over the harbour."));
        QImage picture(1600, 1200, QImage::Format_RGB32);
        picture.fill(QColor(40, 90, 140));
        QPainter(&picture).fillRect(0, 800, 1600, 400, QColor(200, 180, 120));
        QVERIFY(picture.save(file(u"IMG_0412.jpg"_s), "JPEG"));

        QVERIFY(drop(
            localUrls({ file(u"IMG_0412.jpg"_s), file(u"notes.txt"_s), file(u"bill.txt"_s), file(u"broken.txt"_s) })));
        QTRY_VERIFY_WITH_TIMEOUT(batch().isIdle(), 30000);
        QCOMPARE(m_ollama->chatRequests().size(), 4);
        QCOMPARE(column(Model::NewNameColumn),
                 (QStringList { u"Harbour Photo.jpg"_s, u"Harbour Survey.txt"_s, u"Invoice March.txt"_s, QString() }));
        QCOMPARE(column(Model::StateColumn).first(3), QStringList(3, u"Ready to rename"_s));
        QVERIFY2(column(Model::StateColumn).at(3).startsWith(u"Ollama failed while running the model."_s),
                 qPrintable(column(Model::StateColumn).at(3)));
        QVERIFY(!(model().flags(model().index(3, Model::NewNameColumn)) & Qt::ItemIsEditable));
        QCOMPARE(tab().findChild<QLabel *>(u"batchCount"_s)->text().section(u" ·"_s, 0, 0),
                 u"4 of 4 analyzed, 1 failed"_s);

        // F2 on the invoice's row, a new name typed with its extension, Enter.
        QTableView *table = tab().table();
        table->setFocus();
        table->selectRow(2);
        QTest::keyClick(table, Qt::Key_F2);
        auto *editor = qobject_cast<QLineEdit *>(table->indexWidget(model().index(2, Model::NewNameColumn)));
        QVERIFY(editor);
        QCOMPARE(editor->text(), u"Invoice March"_s);
        editor->selectAll();
        QTest::keyClicks(editor, u"Harbour Dues 2026-03.txt"_s);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(column(Model::NewNameColumn).at(2), u"Harbour Dues 2026-03.txt"_s);
        saveScreenshot();

        auto *renameAll = tab().findChild<QPushButton *>(u"renameAll"_s);
        QVERIFY(renameAll->isEnabled());
        QSignalSpy finished(&batch(), &BatchRenameViewModel::renameAllFinished);
        renameAll->click();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 20000);
        for (const QString &name :
             { u"Harbour Photo.jpg"_s, u"Harbour Survey.txt"_s, u"Harbour Dues 2026-03.txt"_s, u"broken.txt"_s })
            QVERIFY2(QFile::exists(file(name)), qPrintable(name));
        for (const QString &name : { u"IMG_0412.jpg"_s, u"notes.txt"_s, u"bill.txt"_s })
            QVERIFY2(!QFile::exists(file(name)), qPrintable(name));
        QCOMPARE(column(Model::StateColumn).first(3),
                 (QStringList { u"Harbour Photo.jpg"_s, u"Harbour Survey.txt"_s, u"Harbour Dues 2026-03.txt"_s }));
        QVERIFY(!renameAll->isEnabled());

        m_gui->settingsWindow()->selectTab(SettingsTab::Activity);
        ActivityTab &activity = *m_gui->settingsWindow()->activityTab();
        QTRY_COMPARE(activity.records().size(), 3);
        QStringList recorded;
        for (const ProcessedFile &record : activity.records())
            recorded.append(record.newName);
        recorded.sort();
        QCOMPARE(recorded,
                 (QStringList { u"Harbour Dues 2026-03.txt"_s, u"Harbour Photo.jpg"_s, u"Harbour Survey.txt"_s }));
    }

    void previewsFitTheRow_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<bool>("preview");
        QTest::newRow("photo-landscape") << u"photo.jpg"_s << QSize(1600, 1200) << true;
        QTest::newRow("picture-portrait") << u"scan.png"_s << QSize(300, 900) << true;
        QTest::newRow("picture-smaller-than-row") << u"icon.png"_s << QSize(16, 16) << true;
        QTest::newRow("pdf-first-page") << u"letter.pdf"_s << QSize() << true;
        QTest::newRow("undecodable-picture-icon") << u"broken.jpg"_s << QSize() << false;
        QTest::newRow("note-type-icon") << u"notes.txt"_s << QSize() << false;
    }

    // A picture or a PDF shows a preview no larger than the row's, whatever
    // its shape; anything else its type's icon.
    void previewsFitTheRow()
    {
        QFETCH(QString, name);
        QFETCH(QSize, picture);
        QFETCH(bool, preview);
        if (picture.isValid()) {
            QImage image(picture, QImage::Format_RGB32);
            image.fill(QColor(40, 90, 140));
            QVERIFY(image.save(file(name)));
        } else if (name.endsWith(u".pdf"_s)) {
            QVERIFY(writeTextPdf(file(name), { u"Dear harbour master, the moorings need repair."_s }));
        } else {
            QVERIFY(writeFile(file(name), "A survey of the harbour walls."));
        }
        QSignalSpy ready(&model().thumbnails(), &ThumbnailLoader::thumbnailReady);
        QVERIFY(drop(localUrls({ file(name) })));
        QTRY_COMPARE(model().rowCount(), 1);

        const QModelIndex cell = model().index(0, Model::OriginalColumn);
        cell.data(Qt::DecorationRole);
        if (ThumbnailLoader::hasPreview(file(name)))
            QTRY_COMPARE(ready.size(), 1);
        const QVariant decoration = cell.data(Qt::DecorationRole);
        QCOMPARE(decoration.typeId(), preview ? QMetaType::QImage : QMetaType::QIcon);
        if (!preview)
            return;
        const QSizeF shown = decoration.value<QImage>().deviceIndependentSize();
        QVERIFY2(shown.width() <= Model::ThumbnailSize.width() && shown.height() <= Model::ThumbnailSize.height()
                     && !shown.isEmpty(),
                 qPrintable(u"%1x%2"_s.arg(shown.width()).arg(shown.height())));
    }

    void editInPlace_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("edited");
        QTest::newRow("edit-wins") << u"Quarterly Report"_s << u"Quarterly Report.txt"_s << u"Quarterly Report"_s;
        QTest::newRow("empty-gives-suggestion-back") << QString() << u"Harbour Survey.txt"_s << QString();
        QTest::newRow("blank-gives-suggestion-back") << u"   "_s << u"Harbour Survey.txt"_s << QString();
        QTest::newRow("own-extension-not-doubled")
            << u"Quarterly Report.TXT"_s << u"Quarterly Report.txt"_s << u"Quarterly Report"_s;
        QTest::newRow("other-extension-is-name") << u"Report.pdf"_s << u"Report.pdf.txt"_s << u"Report.pdf"_s;
        QTest::newRow("extension-alone-is-name") << u".txt"_s << u".txt.txt"_s << u".txt"_s;
    }

    void editInPlace()
    {
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(QString, edited);
        QVERIFY(writeFile(file(u"notes.txt"_s), "A survey of the harbour walls."));
        QVERIFY(drop(localUrls({ file(u"notes.txt"_s) })));
        QTRY_VERIFY(batch().isIdle());
        // An earlier edit, which an empty one gives back.
        QVERIFY(model().setData(model().index(0, Model::NewNameColumn), u"Earlier"_s));

        QVERIFY(model().setData(model().index(0, Model::NewNameColumn), typed));
        QCOMPARE(model().index(0, Model::NewNameColumn).data().toString(), shown);
        QCOMPARE(batch().items().first().editedName.value_or(QString()), edited);
        QCOMPARE(batch().items().first().suggestedName, std::optional<QString>(u"Harbour Survey"_s));
    }

    void keyboard_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<QStringList>("rowsAfter");
        QTest::addColumn<bool>("editing");
        QTest::newRow("delete-removes-selected") << int(Qt::Key_Delete) << QStringList { u"b.txt"_s } << false;
        QTest::newRow("f2-edits-name") << int(Qt::Key_F2) << QStringList { u"a.txt"_s, u"b.txt"_s } << true;
        QTest::newRow("return-edits-name") << int(Qt::Key_Return) << QStringList { u"a.txt"_s, u"b.txt"_s } << true;
        QTest::newRow("letter-does-nothing") << int(Qt::Key_X) << QStringList { u"a.txt"_s, u"b.txt"_s } << false;
    }

    void keyboard()
    {
        QFETCH(int, key);
        QFETCH(QStringList, rowsAfter);
        QFETCH(bool, editing);
        QVERIFY(writeFile(file(u"a.txt"_s), "A survey of the harbour walls."));
        QVERIFY(writeFile(file(u"b.txt"_s), "An invoice for March."));
        QVERIFY(drop(localUrls({ file(u"a.txt"_s), file(u"b.txt"_s) })));
        QTRY_VERIFY(batch().isIdle());
        QTableView *table = tab().table();
        table->setFocus();
        table->selectRow(0);

        QTest::keyClick(table, Qt::Key(key));
        QCOMPARE(shownNames(), rowsAfter);
        QCOMPARE(table->indexWidget(model().index(0, Model::NewNameColumn)) != nullptr, editing);
    }

    void templateChoiceIsTheBatchs()
    {
        TemplateLibrary &templates = m_gui->launcher().viewModel()->templates();
        QVERIFY(!templates.presets().isEmpty());
        auto *combo = tab().findChild<QComboBox *>(u"batchTemplate"_s);
        QCOMPARE(combo->count(), templates.presets().size() + 1);
        QCOMPARE(combo->itemText(0), u"No template"_s);
        QCOMPARE(combo->currentIndex(), 0);

        combo->setCurrentIndex(2);
        emit combo->activated(2);
        QCOMPARE(templates.batchPresetId(), templates.presets().at(1).id);
        templates.setBatchPresetId(QUuid());
        QCOMPARE(combo->currentIndex(), 0);
        templates.setBatchPresetId(templates.presets().at(0).id);
        QCOMPARE(combo->currentText(), templates.presets().at(0).name);
    }

    void batchLimitIsTold_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<QList<QStringList>>("drops");
        QTest::addColumn<int>("items");
        QTest::addColumn<QStringList>("alerts");
        const QString title = u"Batch Limit Reached: "_s;
        QTest::newRow("under-limit-quiet")
            << 5 << QList<QStringList> { { u"a.txt"_s, u"b.txt"_s } } << 2 << QStringList();
        QTest::newRow("over-limit-keeps-first")
            << 2 << QList<QStringList> { { u"a.txt"_s, u"b.txt"_s, u"c.txt"_s } } << 2
            << QStringList { title + u"Batch limit is 2 files. Only the first 2 files were added."_s };
        QTest::newRow("full-batch-refuses")
            << 2 << QList<QStringList> { { u"a.txt"_s, u"b.txt"_s }, { u"c.txt"_s } } << 2
            << QStringList { title + u"Batch limit is 2 files. Only the first 2 files were added."_s,
                             title + u"Batch limit is 2 files. Remove some items to add more files."_s };
    }

    void batchLimitIsTold()
    {
        QFETCH(int, limit);
        QFETCH(QList<QStringList>, drops);
        QFETCH(int, items);
        QFETCH(QStringList, alerts);
        m_profile->defaults.setValue(RemoteConfigService::FormatsMigrationKey, true);
        m_profile->defaults.setValue(
            RemoteConfigService::CacheKey,
            u"{\"image_extensions\":[\"jpg\"],\"document_extensions\":[\"txt\"],\"batch_analysis_limit\":%1}"_s
                .arg(limit)
                .toUtf8());
        m_gui->settingsWindow()->hide();
        m_gui->showPrimary();
        QVERIFY(QTest::qWaitForWindowActive(m_gui->settingsWindow()));
        QVERIFY(tab().dropZone()->hint().endsWith(u"Max %1 files."_s.arg(limit)));
        for (const QStringList &names : std::as_const(drops)) {
            QStringList paths;
            for (const QString &name : names) {
                QVERIFY(writeFile(file(name), "A survey of the harbour walls."));
                paths.append(file(name));
            }
            QVERIFY(drop(localUrls(paths)));
            QTRY_VERIFY(batch().isIdle());
        }
        QCOMPARE(int(batch().items().size()), items);
        QCOMPARE(m_alerts, alerts);
        QVERIFY(!batch().showBatchLimitAlert());
    }

    void unsupportedDropIsExplained()
    {
        QVERIFY(writeFile(file(u"data.xyz"_s), "nothing to name"));
        QVERIFY(drop(localUrls({ file(u"data.xyz"_s) })));
        QMessageBox *box = nullptr;
        QTRY_VERIFY((box = m_gui->settingsWindow()->findChild<QMessageBox *>()));
        QCOMPARE(box->text(), u"No supported files found"_s);
        QCOMPARE(box->informativeText(),
                 u"We couldn't find supported files in your selection. Try files or folders containing supported "
                 "formats like PDF, JPG, PNG, DOCX, TXT, MP3."_s);
        const QPointer<QMessageBox> shown(box);
        box->buttons().first()->click();
        // The answer is read on the event loop, which then lets the box go.
        QTRY_VERIFY(!shown);
        QVERIFY(batch().items().isEmpty());
        QVERIFY(m_ollama->chatRequests().isEmpty());
    }

    void pickerAddsFiles()
    {
        QVERIFY(writeFile(file(u"a.txt"_s), "A survey of the harbour walls."));
        auto *pick = tab().dropZone()->findChild<QPushButton *>(u"pickFiles"_s);
        pick->click();
        pick->click();
        // One picker at a time.
        const QList<QFileDialog *> pickers = tab().findChildren<QFileDialog *>();
        QCOMPARE(pickers.size(), 1);
        QFileDialog *picker = pickers.first();
        QCOMPARE(picker->windowTitle(), u"Select Files"_s);
        QCOMPARE(picker->fileMode(), QFileDialog::ExistingFiles);
        picker->setDirectory(files());
        picker->selectFile(file(u"a.txt"_s));
        // As the Select button does.
        static_cast<QDialog *>(picker)->accept();
        QTRY_COMPARE(shownNames(), QStringList { u"a.txt"_s });
        QTRY_VERIFY(batch().isIdle());
    }

private:
    AIRenameTab &tab() const { return *m_gui->settingsWindow()->aiRenameTab(); }

    BatchRenameViewModel &batch() const { return m_gui->launcher().workflows()->batchRename(); }

    BatchRenameTableModel &model() const { return tab().tableModel(); }

    QString files() const { return m_dir->filePath(u"files"_s); }

    QString file(const QString &name) const { return m_dir->filePath(u"files/"_s + name); }

    // A drop as the desktop delivers it: entering, then letting go. False
    // when the tab turned the drag away.
    bool drop(const QList<QUrl> &urls)
    {
        QMimeData data;
        data.setUrls(urls);
        const QPoint at = tab().rect().center();
        QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&tab(), &enter);
        if (!enter.isAccepted())
            return false;
        QDropEvent dropped(QPointF(at), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&tab(), &dropped);
        return dropped.isAccepted();
    }

    QStringList column(int column) const
    {
        QStringList texts;
        for (int row = 0; row < model().rowCount(); ++row)
            texts.append(model().index(row, column).data().toString());
        return texts;
    }

    QStringList shownNames() const { return column(Model::OriginalColumn); }

    // With NOMLY_SCREENSHOT naming a file, the window as it stands goes there.
    void saveScreenshot()
    {
        const QString path = qEnvironmentVariable("NOMLY_SCREENSHOT");
        if (path.isEmpty())
            return;
        SettingsWindow *window = m_gui->settingsWindow();
        window->resize(880, 560);
        QTest::qWait(200);
        QVERIFY(window->grab().save(path, "PNG"));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ProfileServices> m_profile;
    std::unique_ptr<OllamaPeer> m_ollama;
    std::unique_ptr<GuiApplication> m_gui;
    QStringList m_alerts;
};

QTEST_MAIN(AIRenameTabTest)
#include "airenametabtest.moc"
