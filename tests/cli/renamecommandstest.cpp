// Runs the real `nomly apply`, `history` and `undo` against real files, real
// extended attributes and a real database, all in a fresh temporary folder.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <memory>

#include <sys/stat.h>
#include <sys/xattr.h>

#include "cliprocess.h"
#include "filesystemfixtures.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

namespace {

// Everything a folder holds, one "name=bytes" entry per file in sorted order,
// the bytes read as Latin-1 so that any byte survives and a failure prints.
using Contents = QStringList;

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

// Null when the file does not carry the attribute; an empty value is not null.
QByteArray attributeOf(const QString &path, const char *name)
{
    const QByteArray file = QFile::encodeName(path);
    const ssize_t size = ::getxattr(file.constData(), name, nullptr, 0);
    if (size <= 0)
        return size == 0 ? QByteArray("") : QByteArray();
    QByteArray value(size, Qt::Uninitialized);
    if (::getxattr(file.constData(), name, value.data(), static_cast<size_t>(size)) != size)
        return {};
    return value;
}

} // namespace

class RenameCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void applyThenUndoLast_data();
    void applyThenUndoLast();
    void applyNeverReplaces_data();
    void applyNeverReplaces();
    void undoById_data();
    void undoById();
    void usageErrors_data();
    void usageErrors();
    void missingFileIsOneFailedItem_data();
    void missingFileIsOneFailedItem();
    void failureSaidOnce_data();
    void failureSaidOnce();
    void killedMidBatchLosesNoRecord_data();
    void killedMidBatchLosesNoRecord();
    void fullDataFolderMovesNothing();

private:
    // Data, configuration and cache all live in the temporary folder; the
    // files to rename sit in its "files" folder, the working directory.
    Run runNomly(const QStringList &arguments) const;

    QString filePath(const QString &name) const { return m_dir->filePath(u"files/"_s + name); }

    void setContents(const Contents &contents) const;
    Contents contents() const;
    QJsonArray history() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    // A profile whose data folder is a small file system of its own.
    QTemporaryDir m_smallProfile;
    std::unique_ptr<AttributelessMount> m_smallData;
};

void RenameCommandsTest::initTestCase()
{
    // Before any thread starts, as a private mount namespace requires.
    QVERIFY(QDir(m_smallProfile.path()).mkdir(u"data"_s));
    m_smallData
        = std::make_unique<AttributelessMount>(m_smallProfile.filePath(u"data"_s), AttributelessMount::Kind::Small);
}

Run RenameCommandsTest::runNomly(const QStringList &arguments) const
{
    const CliRun run = runCli(QStringLiteral(NOMLY_BINARY), arguments, m_dir->path(), m_dir->filePath(u"files"_s));
    return { run.exitCode, run.out, run.err };
}

void RenameCommandsTest::setContents(const Contents &contents) const
{
    // A file that already holds its bytes is left alone, so that it stays
    // the very file (same inode) it was.
    QDir folder(m_dir->filePath(u"files"_s));
    const Contents current = this->contents();
    for (const QString &entry : current) {
        if (!contents.contains(entry))
            QVERIFY(folder.remove(entry.left(entry.indexOf(u'='))));
    }
    for (const QString &entry : contents) {
        if (current.contains(entry))
            continue;
        const qsizetype separator = entry.indexOf(u'=');
        const QByteArray bytes = entry.mid(separator + 1).toLatin1();
        QFile file(folder.filePath(entry.left(separator)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }
}

Contents RenameCommandsTest::contents() const
{
    Contents contents;
    const QDir folder(m_dir->filePath(u"files"_s));
    for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden)) {
        QFile file(folder.filePath(name));
        contents.append(name + u'=' + (file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : u"?"_s));
    }
    contents.sort();
    return contents;
}

QJsonArray RenameCommandsTest::history() const
{
    const Run run = runNomly({ u"history"_s, u"--json"_s });
    if (run.exitCode != 0)
        qWarning().noquote() << "history failed:" << run.err;
    return QJsonDocument::fromJson(run.out.toUtf8()).array();
}

void RenameCommandsTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QVERIFY(QDir(m_dir->path()).mkdir(u"files"_s));
}

// The whole round: rename with metadata, list it, take it back. Tags the file
// had before come back; attributes it never had are gone again.
void RenameCommandsTest::applyThenUndoLast_data()
{
    QTest::addColumn<QByteArray>("tagsBefore");
    QTest::addColumn<QStringList>("snapshotTags");

    QTest::newRow("file-without-metadata") << QByteArray() << QStringList();
    QTest::newRow("own-tags-come-back") << QByteArray("Red,Work") << QStringList { u"Red"_s, u"Work"_s };
}

void RenameCommandsTest::applyThenUndoLast()
{
    QFETCH(QByteArray, tagsBefore);
    QFETCH(QStringList, snapshotTags);

    const QString bytes = QString::fromLatin1(QByteArray("%PDF\0scan\xff\xfe\r\n", 12));
    setContents({ u"scan001.txt="_s + bytes });
    const QString original = filePath(u"scan001.txt"_s);
    const QByteArray file = QFile::encodeName(original);
    if (::setxattr(file.constData(), "user.probe", "", 0, 0) != 0)
        QSKIP("The temporary folder keeps no user extended attributes");
    QCOMPARE(::removexattr(file.constData(), "user.probe"), 0);
    if (!tagsBefore.isNull())
        QCOMPARE(::setxattr(file.constData(), "user.xdg.tags", tagsBefore.constData(), size_t(tagsBefore.size()), 0),
                 0);

    const Run apply = runNomly({ u"apply"_s,
                                 u"--title"_s,
                                 u"Quarterly report"_s,
                                 u"--description"_s,
                                 u"Q3 numbers"_s,
                                 u"--tags"_s,
                                 u"finance, q3"_s,
                                 u"--write-tags"_s,
                                 u"--write-comment"_s,
                                 u"scan001.txt"_s });
    QVERIFY2(apply.exitCode == 0, qPrintable(apply.err));
    QCOMPARE(apply.out, u"scan001.txt -> Quarterly Report.txt\n"_s);
    QCOMPARE(contents(), Contents { u"Quarterly Report.txt="_s + bytes });
    const QString renamed = filePath(u"Quarterly Report.txt"_s);
    QCOMPARE(attributeOf(renamed, "user.xdg.tags"), QByteArray("finance,q3"));
    QCOMPARE(attributeOf(renamed, "user.xdg.comment"), QByteArray("Q3 numbers"));
    QCOMPARE(attributeOf(renamed, "user.nomly.title"), QByteArray("Quarterly report"));

    const QJsonArray records = history();
    QCOMPARE(records.size(), 1);
    const QJsonObject record = records.first().toObject();
    QCOMPARE(record.value(u"newPath"_s).toString(), renamed);
    QCOMPARE(record.value(u"source"_s).toString(), u"batch"_s);
    QCOMPARE(record.value(u"aiProvider"_s).toString(), u"manual"_s);
    QCOMPARE(record.value(u"tags"_s).toString(), u"finance, q3"_s);
    const QJsonObject snapshot = record.value(u"metadataSnapshot"_s).toObject();
    QCOMPARE(snapshot.value(u"finderTags"_s).toVariant().toStringList(), snapshotTags);

    const Run undo = runNomly({ u"undo"_s, u"--last"_s });
    QVERIFY2(undo.exitCode == 0, qPrintable(undo.err));
    QCOMPARE(undo.out, u"Quarterly Report.txt -> scan001.txt: undone\n"_s);
    QCOMPARE(contents(), Contents { u"scan001.txt="_s + bytes });
    QCOMPARE(attributeOf(original, "user.xdg.tags"), tagsBefore);
    QVERIFY(attributeOf(original, "user.xdg.comment").isNull());
    QVERIFY(attributeOf(original, "user.nomly.title").isNull());
    QCOMPARE(history(), QJsonArray());
}

// Each file starts with its own name as its bytes; all are given the title
// "notes".
void RenameCommandsTest::applyNeverReplaces_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");
    QTest::addColumn<Contents>("after");
    QTest::addColumn<int>("recorded");

    QTest::newRow("taken-name-gets-suffix")
        << QStringList { u"Notes.txt"_s, u"scan.txt"_s } << QStringList { u"scan.txt"_s } << 0
        << u"scan.txt -> Notes_1.txt\n"_s << QString()
        << Contents { u"Notes.txt=Notes.txt"_s, u"Notes_1.txt=scan.txt"_s } << 1;
    QTest::newRow("missing-file-does-not-stop-the-rest")
        << QStringList { u"a.txt"_s, u"b.txt"_s } << QStringList { u"a.txt"_s, u"gone.txt"_s, u"b.txt"_s } << 1
        << u"a.txt -> Notes.txt\nb.txt -> Notes_1.txt\n"_s << u"gone.txt"_s
        << Contents { u"Notes.txt=a.txt"_s, u"Notes_1.txt=b.txt"_s } << 2;
}

void RenameCommandsTest::applyNeverReplaces()
{
    QFETCH(QStringList, before);
    QFETCH(QStringList, files);
    QFETCH(int, exitCode);
    QFETCH(QString, out);
    QFETCH(QString, err);
    QFETCH(Contents, after);
    QFETCH(int, recorded);

    Contents initial;
    for (const QString &name : before)
        initial.append(name + u'=' + name);
    setContents(initial);

    const Run run = runNomly(QStringList { u"apply"_s, u"--title"_s, u"notes"_s } + files);
    QCOMPARE(run.exitCode, exitCode);
    QCOMPARE(run.out, out);
    QVERIFY2(run.err.contains(err), qPrintable(run.err));
    QCOMPARE(contents(), after);
    QCOMPARE(history().size(), recorded);
}

// After "a.txt -> Notes.txt", the folder is put in the state of the row and
// the record is undone by its id.
void RenameCommandsTest::undoById_data()
{
    QTest::addColumn<Contents>("atUndo");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    QTest::addColumn<Contents>("after");
    QTest::addColumn<bool>("recordKept");

    QTest::newRow("file-goes-back") << Contents { u"Notes.txt=mine"_s } << 0 << u": undone"_s
                                    << Contents { u"a.txt=mine"_s } << false;
    const Contents occupied { u"Notes.txt=mine"_s, u"a.txt=intruder"_s };
    QTest::newRow("original-place-occupied") << occupied << 1 << u"original place occupied"_s << occupied << true;
    QTest::newRow("renamed-file-deleted") << Contents() << 0 << u"file missing"_s << Contents() << false;
    // Another file now has the new name; it is never moved to the old one.
    const Contents replaced { u"Notes.txt=someone else's"_s };
    QTest::newRow("renamed-file-replaced") << replaced << 1 << u"is not the file Nomly renamed"_s << replaced << true;
}

void RenameCommandsTest::undoById()
{
    QFETCH(Contents, atUndo);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    QFETCH(Contents, after);
    QFETCH(bool, recordKept);

    setContents({ u"a.txt=mine"_s });
    QCOMPARE(runNomly({ u"apply"_s, u"--title"_s, u"notes"_s, u"a.txt"_s }).exitCode, 0);
    const QJsonArray records = history();
    QCOMPARE(records.size(), 1);
    const QString id = QString::number(records.first()[u"id"_s].toInteger());
    setContents(atUndo);

    const Run run = runNomly({ u"undo"_s, id });
    QCOMPARE(run.exitCode, exitCode);
    const QString said = run.out + run.err;
    QVERIFY2(said.contains(message), qPrintable(said));
    QCOMPARE(contents(), after);
    QCOMPARE(history(), recordKept ? records : QJsonArray());
}

void RenameCommandsTest::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const QString needsIds = u"give record ids, --last, --last-run or --all"_s;
    QTest::newRow("apply-without-title") << QStringList { u"apply"_s, u"a.txt"_s } << u"--title is required"_s;
    QTest::newRow("undo-without-ids") << QStringList { u"undo"_s } << needsIds;
    QTest::newRow("undo-last-and-last-run") << QStringList { u"undo"_s, u"--last"_s, u"--last-run"_s } << needsIds;
    QTest::newRow("undo-word-as-id") << QStringList { u"undo"_s, u"abc"_s } << u"'abc' is not a record id"_s;
    QTest::newRow("history-negative-limit")
        << QStringList { u"history"_s, u"--limit"_s, u"-1"_s } << u"--limit needs a whole number"_s;
}

// A usage error renames nothing and forgets nothing.
void RenameCommandsTest::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);

    setContents({ u"a.txt=a"_s, u"b.txt=b"_s });
    QCOMPARE(runNomly({ u"apply"_s, u"--title"_s, u"notes"_s, u"b.txt"_s }).exitCode, 0);
    const Contents before = contents();
    const QJsonArray records = history();
    QCOMPARE(records.size(), 1);

    const Run run = runNomly(arguments);
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.out, QString());
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QCOMPARE(contents(), before);
    QCOMPARE(history(), records);
}

// A file that is not there is an item that failed in every command: exit
// status 1, "File not found" with its name, and the other files still done.
void RenameCommandsTest::missingFileIsOneFailedItem_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("said"); // in the output or the errors
    QTest::addColumn<QString>("done"); // what the command did with a.txt

    QTest::newRow("preview") << QStringList { u"preview"_s, u"--title"_s, u"notes"_s, u"gone.txt"_s, u"a.txt"_s }
                             << u"nomly: gone.txt: File not found\n"_s << u"Notes.txt\n"_s;
    QTest::newRow("inspect") << QStringList { u"inspect"_s, u"gone.txt"_s, u"a.txt"_s }
                             << u"gone.txt\n  failed: File not found\n"_s << u"a.txt\n  kind: text"_s;
    QTest::newRow("apply") << QStringList { u"apply"_s, u"--title"_s, u"notes"_s, u"gone.txt"_s, u"a.txt"_s }
                           << u"nomly: gone.txt: File not found\n"_s << u"a.txt -> Notes.txt\n"_s;
    QTest::newRow("rename") << QStringList { u"rename"_s, u"--mode"_s, u"local"_s, u"gone.txt"_s }
                            << u"nomly: gone.txt: File not found\n"_s << QString();
    QTest::newRow("analyze") << QStringList { u"analyze"_s, u"--mode"_s, u"local"_s, u"gone.txt"_s }
                             << u"gone.txt\n  error: File not found\n"_s << QString();
}

void RenameCommandsTest::missingFileIsOneFailedItem()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, said);
    QFETCH(QString, done);

    setContents({ u"a.txt=Budget review notes for the third quarter"_s });
    QCOMPARE(runNomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
    const Run run = runNomly(arguments);
    QCOMPARE(run.exitCode, 1);
    const QString everything = run.out + run.err;
    QVERIFY2(everything.contains(said), qPrintable(everything));
    QVERIFY2(run.out.contains(done), qPrintable(run.out));
}

// A failed item is one line: the core's own account of it is left to
// QT_LOGGING_RULES, which shows it beside the command's line.
void RenameCommandsTest::failureSaidOnce_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("rules"); // QT_LOGGING_RULES; none when empty
    QTest::addColumn<QString>("failure");
    QTest::addColumn<int>("lines"); // that tell the failure

    const QStringList applyToPipe { u"apply"_s, u"--title"_s, u"notes"_s, u"pipe.txt"_s };
    const QStringList undoReplaced { u"undo"_s, u"--last"_s };
    const QString pipeFailure = u"is no longer a regular file"_s;
    const QString undoFailure = u"is not the file Nomly renamed"_s;
    QTest::newRow("apply-to-a-pipe") << applyToPipe << QString() << pipeFailure << 1;
    QTest::newRow("apply-to-a-pipe-core-log-asked") << applyToPipe << u"com.nomly.app.*=true"_s << pipeFailure << 2;
    QTest::newRow("undo-of-a-replaced-file") << undoReplaced << QString() << undoFailure << 1;
    QTest::newRow("undo-of-a-replaced-file-core-log-asked")
        << undoReplaced << u"com.nomly.app.*=true"_s << undoFailure << 2;
}

void RenameCommandsTest::failureSaidOnce()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, rules);
    QFETCH(QString, failure);
    QFETCH(int, lines);

    // A rename whose file was replaced since, and a pipe where a file was.
    setContents({ u"a.txt=mine"_s });
    QCOMPARE(runNomly({ u"apply"_s, u"--title"_s, u"notes"_s, u"a.txt"_s }).exitCode, 0);
    setContents({ u"Notes.txt=someone else's"_s });
    QCOMPARE(::mkfifo(QFile::encodeName(filePath(u"pipe.txt"_s)).constData(), 0600), 0);

    QProcessEnvironment environment = cliEnvironment(m_dir->path());
    environment.remove(u"QT_LOGGING_RULES"_s);
    if (!rules.isEmpty())
        environment.insert(u"QT_LOGGING_RULES"_s, rules);
    const CliRun run = runCliServing(QStringLiteral(NOMLY_BINARY), arguments, environment, m_dir->filePath(u"files"_s));
    QCOMPARE(run.exitCode, 1);
    const QStringList said = QString(run.out + run.err).split(u'\n');
    const auto tells = [&](const QString &line) { return line.contains(failure); };
    QCOMPARE(int(std::count_if(said.cbegin(), said.cend(), tells)), lines);
}

void RenameCommandsTest::killedMidBatchLosesNoRecord_data()
{
    QTest::addColumn<int>("renamedBeforeKill");

    QTest::newRow("killed-early") << 3;
    QTest::newRow("killed-midway") << 150;
}

// `kill -9` in the middle of a batch: whatever moved has its record (the
// next command settles the one in flight), so undo brings back every name.
void RenameCommandsTest::killedMidBatchLosesNoRecord()
{
    QFETCH(int, renamedBeforeKill);

    Contents original;
    QStringList names;
    for (int i = 0; i < 500; ++i) {
        names.append(u"f%1.txt"_s.arg(i, 3, 10, QLatin1Char('0')));
        original.append(names.last() + u'=' + QString::number(i));
    }
    setContents(original);
    const QString folder = m_dir->filePath(u"files"_s);
    QProcess apply;
    apply.setProcessEnvironment(cliEnvironment(m_dir->path()));
    apply.setWorkingDirectory(folder);
    apply.start(QStringLiteral(NOMLY_BINARY), QStringList { u"apply"_s, u"--title"_s, u"notes"_s } + names);
    QVERIFY(apply.waitForStarted());
    QElapsedTimer waited;
    waited.start();
    while (apply.state() == QProcess::Running && waited.elapsed() < 120'000
           && QDir(folder).entryList({ u"notes*"_s }, QDir::Files).size() < renamedBeforeKill)
        QTest::qSleep(1);
    apply.kill();
    QVERIFY(apply.waitForFinished());

    const Run undo = runNomly({ u"undo"_s, u"--all"_s });
    QVERIFY2(undo.exitCode == 0, qPrintable(undo.err));
    QCOMPARE(contents(), original);
    QCOMPARE(history(), QJsonArray());
}

// No room for the record: the file is not moved, and the user reads why.
void RenameCommandsTest::fullDataFolderMovesNothing()
{
    if (!m_smallData->unavailableReason().isEmpty())
        QSKIP(qPrintable(m_smallData->unavailableReason()));
    setContents({ u"a.txt=a"_s, u"b.txt=b"_s, u"c.txt=c"_s });
    const QString profile = m_smallProfile.path();
    const QString folder = m_dir->filePath(u"files"_s);
    const auto nomly = [&](const QStringList &arguments) {
        return runCli(QStringLiteral(NOMLY_BINARY), arguments, profile, folder);
    };
    // The profile was made while there was room.
    QCOMPARE(nomly({ u"apply"_s, u"--title"_s, u"first"_s, u"a.txt"_s }).exitCode, 0);

    QFile filler(m_smallProfile.filePath(u"data/filler"_s));
    QVERIFY(filler.open(QIODevice::WriteOnly));
    const QByteArray block(16 * 1024, 'x');
    while (filler.write(block) == block.size() && filler.flush()) {}
    filler.close();
    const CliRun full = nomly({ u"apply"_s, u"--title"_s, u"second"_s, u"b.txt"_s, u"c.txt"_s });
    QVERIFY(filler.remove());

    QVERIFY2(full.exitCode != 0, qPrintable(full.out));
    QVERIFY2(full.err.contains(u"full"_s) || full.err.contains(u"database"_s), qPrintable(full.err));
    QCOMPARE(contents(), (Contents { u"First.txt=a"_s, u"b.txt=b"_s, u"c.txt=c"_s }));
    QCOMPARE(QJsonDocument::fromJson(nomly({ u"history"_s, u"--json"_s }).out.toUtf8()).array().size(), 1);
}

QTEST_GUILESS_MAIN(RenameCommandsTest)
#include "renamecommandstest.moc"
