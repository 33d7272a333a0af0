#include "cli/corelog.h"

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QString>
#include <QtGlobal>
#include <utility>

namespace Nomly {

namespace {

// A line as it was logged, kept with copies of what its context points to.
struct HeldLine
{
    QtMsgType type;
    QByteArray file;
    int line;
    QByteArray function;
    QByteArray category;
    QString message;
};

bool installed = false;
QtMessageHandler previousHandler = nullptr;
QMutex heldLock;
bool holding = false;
QList<HeldLine> heldLines;

bool isCoreProblem(QtMsgType type, const QMessageLogContext &context)
{
    return (type == QtWarningMsg || type == QtCriticalMsg) && context.category
        && qstrncmp(context.category, "com.nomly.", 10) == 0;
}

void pass(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (previousHandler)
        previousHandler(type, context, message);
}

void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (isCoreProblem(type, context)) {
        const QMutexLocker locker(&heldLock);
        if (holding) {
            heldLines.append({ type,
                               QByteArray(context.file),
                               context.line,
                               QByteArray(context.function),
                               QByteArray(context.category),
                               message });
            return;
        }
    }
    pass(type, context, message);
}

// Ends holding; the lines held so far are handed back.
QList<HeldLine> stopHolding()
{
    const QMutexLocker locker(&heldLock);
    holding = false;
    return std::exchange(heldLines, {});
}

} // namespace

void CoreLog::install()
{
    // The user asked for the log as it comes.
    if (qEnvironmentVariableIsSet("QT_LOGGING_RULES"))
        return;
    previousHandler = qInstallMessageHandler(&handle);
    installed = true;
}

CoreLog::Held::Held()
{
    const QMutexLocker locker(&heldLock);
    Q_ASSERT(!holding);
    holding = installed;
}

CoreLog::Held::~Held()
{
    for (const HeldLine &held : stopHolding()) {
        const QMessageLogContext context(held.file.isNull() ? nullptr : held.file.constData(),
                                         held.line,
                                         held.function.isNull() ? nullptr : held.function.constData(),
                                         held.category.constData());
        pass(held.type, context, held.message);
    }
}

void CoreLog::Held::failureReported()
{
    stopHolding();
}

} // namespace Nomly
