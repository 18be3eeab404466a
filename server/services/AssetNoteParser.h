#pragma once

#include "assets/AssetModels.h"

#include <QString>

namespace lumen {

// Reads one of the owner's asset notes: markdown with an optional front-matter block of
// `key: value` lines between two `---` lines, and perhaps a pipe table.
//  - values: integers, decimals and true/false become numbers and booleans; quotes are
//    stripped; anything else is text
//  - mode: the front matter's `mode`, else "table" when the body holds a table, else "markdown"
//  - table: the first pipe table of the body (header row, delimiter row, data rows)
//  - body_md: everything after the front matter
class AssetNoteParser {
public:
    static wire::AssetItem parse(const QString& slug, QString text);
    static wire::AnyCodableValue scalar(const QString& raw);
    static std::optional<wire::AssetTable> firstTable(const QStringList& lines);
};

} // namespace lumen
