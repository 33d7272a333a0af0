#include "naming/filerenamer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <algorithm>

#include <unistd.h>

#include "naming/builtinextensions.h"
#include "naming/nametext.h"
#include "naming/namingpattern.h"
#include "naming/patternrendercontext.h"
#include "naming/patternvalues.h"

namespace Nomly {

namespace {

constexpr int MaxNumberedSuffix = 1000;
constexpr qsizetype DefaultMaxNameBytes = 255;

// A dangling symbolic link still occupies its name.
bool isOccupied(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// What the folder's file system allows for one name, in bytes.
qsizetype maxNameBytes(const QDir &folder)
{
    const long limit = ::pathconf(QFile::encodeName(folder.absolutePath()).constData(), _PC_NAME_MAX);
    return limit > 0 ? limit : DefaultMaxNameBytes;
}

// The name with its suffix and extension, the base shortened so that the
// whole fits: a long title never makes a rename fail, and the extension and
// the collision suffix stay whole.
QString fileName(const QString &base, const QString &suffix, const QString &extension, qsizetype maxBytes)
{
    const qsizetype tailBytes = suffix.toUtf8().size() + (extension.isEmpty() ? 0 : 1 + extension.toUtf8().size());
    const QString fitted = fitNameToBytes(base, std::max<qsizetype>(1, maxBytes - tailBytes)) + suffix;
    return extension.isEmpty() ? fitted : fitted + u'.' + extension;
}

} // namespace

QString FileRenamer::applyPattern(const PatternRenderInput &input)
{
    PatternRenderContext context(input);

    // One pass over the pattern: each token is replaced by its value, so a
    // value can never bring in a token of its own.
    QString rendered;
    rendered.reserve(input.pattern.size() * 2);
    qsizetype from = 0;
    for (const PatternToken &token : scanPatternTokens(input.pattern)) {
        rendered += QStringView(input.pattern).sliced(from, token.position - from);
        // Braces before a token are text, so "{{title}}" keeps the title.
        const qsizetype innerOpen = token.text.lastIndexOf(u'{');
        rendered += QStringView(token.text).first(innerOpen);
        const QString innerToken = token.text.sliced(innerOpen);
        if (const auto value = patternValue(innerToken, context))
            rendered += *value;
        else
            rendered += innerToken;
        from = token.end();
    }
    rendered += QStringView(input.pattern).sliced(from);

    QString name = sanitizeName(rendered, true);
    if (name.isEmpty())
        name = sanitizeName(context.titleForms().normalized, true);
    if (name.isEmpty())
        name = sanitizeName(input.originalName, true);
    if (name.isEmpty())
        name = QStringLiteral("Untitled");
    return name;
}

QString FileRenamer::extensionOf(const QString &path)
{
    const QFileInfo file(path);
    // A dot file such as ".bashrc" is all name and no extension.
    return file.completeBaseName().isEmpty() ? QString() : file.suffix();
}

QString FileRenamer::destination(const QString &sourcePath, PatternRenderInput input)
{
    const QFileInfo source(sourcePath);
    const QString extension = extensionOf(sourcePath);
    input.originalName = extension.isEmpty() ? source.fileName() : source.completeBaseName();
    input.metadata.fileExtensionOriginal = extension;
    input.metadata.fileExtension = extension.toLower();
    input.kind = BuiltInExtensions::kindForFile(input.metadata);
    return freeDestination(source.absolutePath(), applyPattern(input), extension, source.absoluteFilePath());
}

QString FileRenamer::freeDestination(const QString &folderPath,
                                     const QString &base,
                                     const QString &extension,
                                     const QString &ownPath,
                                     const std::function<bool(const QString &candidate)> &isReserved)
{
    const QDir folder(folderPath);
    const qsizetype maxBytes = maxNameBytes(folder);
    const auto isFree = [&](const QString &candidate) {
        if (isReserved && isReserved(candidate))
            return false;
        return candidate == ownPath || !isOccupied(candidate);
    };

    const QString candidate = folder.filePath(fileName(base, {}, extension, maxBytes));
    if (isFree(candidate))
        return candidate;
    for (int n = 1; n <= MaxNumberedSuffix; ++n) {
        const QString numbered = folder.filePath(fileName(base, u'_' + QString::number(n), extension, maxBytes));
        if (isFree(numbered))
            return numbered;
    }
    const QString random = QUuid::createUuid().toString(QUuid::WithoutBraces).left(8).toUpper();
    return folder.filePath(fileName(base, u'_' + random, extension, maxBytes));
}

} // namespace Nomly
