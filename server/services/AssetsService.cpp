#include "AssetsService.h"

#include "ApiError.h"
#include "AssetNoteParser.h"
#include "HouseholdService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace lumen {

namespace {

// A note is a page of text; anything larger is not one of ours.
constexpr qint64 kMaxNoteBytes = 1024 * 1024;

} // namespace

AssetsService::AssetsService(QString assetsDir, HouseholdService& households)
    : m_folder(std::move(assetsDir))
    , m_households(households)
{
}

bool AssetsService::isValidSlug(const QString& slug)
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z0-9][A-Za-z0-9_-]{0,99}$"));
    return pattern.match(slug).hasMatch();
}

bool AssetsService::mayRead(qint64 userId)
{
    const auto home = m_households.homeHouseholdId();
    return home && m_households.householdOf(userId).id == *home;
}

std::optional<wire::AssetItem> AssetsService::load(const QString& slug) const
{
    const QFileInfo info(QDir(m_folder).filePath(slug + QStringLiteral(".md")));
    // Only plain files inside the folder: a link pointing elsewhere is not a note.
    if (!info.isFile() || info.isSymLink() || info.size() > kMaxNoteBytes)
        return std::nullopt;
    QFile file(info.filePath());
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return AssetNoteParser::parse(slug, QString::fromUtf8(file.readAll()));
}

wire::AssetsListResponse AssetsService::list(qint64 userId)
{
    wire::AssetsListResponse response;
    if (!mayRead(userId))
        return response;
    const QStringList files
        = QDir(m_folder).entryList({ QStringLiteral("*.md") }, QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    QStringList slugs;
    for (const QString& file : files) {
        const QString slug = file.chopped(3);
        if (isValidSlug(slug))
            slugs.append(slug);
    }
    slugs.sort();
    for (const QString& slug : slugs) {
        if (auto item = load(slug))
            response.items.push_back(std::move(*item));
    }
    response.count = int(response.items.size());
    return response;
}

wire::AssetItem AssetsService::get(qint64 userId, const QString& slug)
{
    if (isValidSlug(slug) && mayRead(userId)) {
        if (auto item = load(slug))
            return *item;
    }
    throw ApiError::notFound(QStringLiteral("没有找到资产笔记 %1").arg(slug.left(100)));
}

} // namespace lumen
