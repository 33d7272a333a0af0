#include "naming/filerenamer.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include "naming/builtinextensions.h"
#include "naming/nametext.h"
#include "naming/namingpattern.h"
#include "naming/patternrendercontext.h"
#include "naming/patternvalues.h"

namespace Nomly {

namespace {

constexpr int MaxNumberedSuffix = 1000;

// A dangling symbolic link still occupies its name.
bool isOccupied(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

QString fileName(const QString &base, const QString &extension)
{
    return extension.isEmpty() ? base : base + u'.' + extension;
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

QString FileRenamer::destination(const QString &sourcePath, PatternRenderInput input)
{
    const QFileInfo source(sourcePath);
    // A dot file such as ".bashrc" is all name and no extension.
    const QString extension = source.completeBaseName().isEmpty() ? QString() : source.suffix();
    input.originalName = extension.isEmpty() ? source.fileName() : source.completeBaseName();
    input.metadata.fileExtensionOriginal = extension;
    input.metadata.fileExtension = extension.toLower();
    input.kind = BuiltInExtensions::kindForExtension(input.metadata.fileExtension);

    const QString base = applyPattern(input);
    const QDir folder = source.absoluteDir();
    const QString sourceAbsolute = source.absoluteFilePath();

    const QString candidate = folder.filePath(fileName(base, extension));
    if (candidate == sourceAbsolute || !isOccupied(candidate))
        return candidate;
    for (int n = 1; n <= MaxNumberedSuffix; ++n) {
        const QString numbered = folder.filePath(fileName(base + u'_' + QString::number(n), extension));
        if (numbered == sourceAbsolute || !isOccupied(numbered))
            return numbered;
    }
    const QString random = QUuid::createUuid().toString(QUuid::WithoutBraces).left(8).toUpper();
    return folder.filePath(fileName(base + u'_' + random, extension));
}

} // namespace Nomly
