#pragma once

#include <QHash>
#include <QString>

namespace Nomly {

// The naming fields that the text of a file gives away, by the kind of file:
// project manifests, source files, mail headers and SVG drawings. Each reader
// takes text already read (bounded by the caller) and answers the fields it
// found by their normalised names; nothing found is an empty map.
namespace TextFacts {

using Fields = QHash<QString, QString>;

// package.json, Package.swift, pyproject.toml, Cargo.toml and .gemspec files.
Fields codeProject(const QString &fileName, const QString &text);
// The language or framework a source file imports.
Fields sourceCode(const QString &text);
// From, To, Subject and Date of a saved mail message.
Fields mailHeaders(const QString &text);
// An XML property list's product name, identifier, version, build and
// release date.
Fields bundlePlist(const QString &xmlText);
// The host a download came from, from the address its browser recorded.
QString sourceOfOrigin(const QString &origin);
// The artboard and component names of an SVG drawing.
Fields design(const QString &svgText);
// "2x" from a name stem such as "logo@2x"; empty when there is none.
QString exportScale(const QString &stem);
// The three-letter currency an amount is in: "$12" is USD, "12,50 €" EUR,
// "100 CHF" CHF; empty when it does not say.
QString currencyOfAmount(const QString &amount);

} // namespace TextFacts

} // namespace Nomly
