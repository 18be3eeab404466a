#include "AssetNoteParser.h"

#include <QRegularExpression>

namespace lumen {

namespace {

const QString kFence = QStringLiteral("---");

bool isTableLine(const QString& line)
{
    return line.trimmed().startsWith(QLatin1Char('|'));
}

// A row such as "| --- | :---: |" separating the header from the data.
bool isDelimiterRow(const QString& line)
{
    static const QRegularExpression pattern(QStringLiteral(R"(^\|?\s*:?-+:?\s*(\|\s*:?-+:?\s*)*\|?$)"));
    return pattern.match(line.trimmed()).hasMatch();
}

QStringList cells(const QString& line)
{
    QString row = line.trimmed();
    if (row.startsWith(QLatin1Char('|')))
        row.remove(0, 1);
    if (row.endsWith(QLatin1Char('|')) && !row.endsWith(QStringLiteral("\\|")))
        row.chop(1);
    QStringList out;
    QString cell;
    for (qsizetype i = 0; i < row.size(); ++i) {
        const QChar c = row.at(i);
        if (c == QLatin1Char('\\') && i + 1 < row.size() && row.at(i + 1) == QLatin1Char('|')) {
            cell.append(QLatin1Char('|'));
            ++i;
        } else if (c == QLatin1Char('|')) {
            out.append(cell.trimmed());
            cell.clear();
        } else {
            cell.append(c);
        }
    }
    out.append(cell.trimmed());
    return out;
}

} // namespace

wire::AnyCodableValue AssetNoteParser::scalar(const QString& raw)
{
    const QString value = raw.trimmed();
    if (value.size() >= 2
        && ((value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"')))
            || (value.startsWith(QLatin1Char('\'')) && value.endsWith(QLatin1Char('\'')))))
        return value.mid(1, value.size() - 2);
    if (value == QLatin1String("true"))
        return true;
    if (value == QLatin1String("false"))
        return false;
    static const QRegularExpression integer(QStringLiteral(R"(^[-+]?\d+$)"));
    static const QRegularExpression decimal(QStringLiteral(R"(^[-+]?(\d+\.\d*|\.\d+|\d+)([eE][-+]?\d+)?$)"));
    if (integer.match(value).hasMatch()) {
        bool ok = false;
        const qint64 number = value.toLongLong(&ok);
        if (ok)
            return number;
    }
    if (decimal.match(value).hasMatch()) {
        bool ok = false;
        const double number = value.toDouble(&ok);
        if (ok)
            return number;
    }
    return value;
}

std::optional<wire::AssetTable> AssetNoteParser::firstTable(const QStringList& lines)
{
    bool inCode = false;
    for (qsizetype i = 0; i + 1 < lines.size(); ++i) {
        if (lines.at(i).trimmed().startsWith(QStringLiteral("```"))) {
            inCode = !inCode;
            continue;
        }
        if (inCode || !isTableLine(lines.at(i)) || !isDelimiterRow(lines.at(i + 1)))
            continue;
        wire::AssetTable table;
        table.headers = cells(lines.at(i));
        const qsizetype width = table.headers.size();
        for (qsizetype j = i + 2; j < lines.size() && isTableLine(lines.at(j)); ++j) {
            QStringList row = cells(lines.at(j));
            // Rows keep the header's width: short ones are padded, long ones cut.
            while (row.size() < width)
                row.append(QString());
            row = row.mid(0, width);
            table.rows.push_back(row);
        }
        return table;
    }
    return std::nullopt;
}

wire::AssetItem AssetNoteParser::parse(const QString& slug, QString text)
{
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    QStringList lines = text.split(QLatin1Char('\n'));

    std::optional<wire::AnyDict> frontmatter;
    qsizetype bodyStart = 0;
    if (!lines.isEmpty() && lines.first().trimmed() == kFence) {
        for (qsizetype i = 1; i < lines.size(); ++i) {
            if (lines.at(i).trimmed() != kFence)
                continue;
            wire::AnyDict values;
            for (qsizetype k = 1; k < i; ++k) {
                const QString line = lines.at(k);
                const qsizetype colon = line.indexOf(QLatin1Char(':'));
                if (line.trimmed().startsWith(QLatin1Char('#')) || colon <= 0)
                    continue;
                const QString key = line.left(colon).trimmed();
                if (!key.isEmpty())
                    values[key] = scalar(line.mid(colon + 1));
            }
            frontmatter = std::move(values);
            bodyStart = i + 1;
            break;
        }
    }
    // An opening fence without a closing one is not front matter: the whole text is body.
    const QStringList bodyLines = lines.mid(bodyStart);
    QString body = bodyLines.join(QLatin1Char('\n'));
    while (body.startsWith(QLatin1Char('\n')))
        body.remove(0, 1);

    wire::AssetItem item;
    item.slug = slug;
    item.table = firstTable(bodyLines);
    std::optional<QString> declaredMode;
    if (frontmatter) {
        const auto found = frontmatter->find(QStringLiteral("mode"));
        if (found != frontmatter->end())
            declaredMode = found->second.stringValue();
    }
    if (declaredMode && !declaredMode->isEmpty())
        item.mode = *declaredMode;
    else
        item.mode = item.table ? QStringLiteral("table") : QStringLiteral("markdown");
    item.frontmatter = std::move(frontmatter);
    item.body_md = body;
    return item;
}

} // namespace lumen
