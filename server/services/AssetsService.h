#pragma once

#include "assets/AssetModels.h"

#include <QString>

namespace lumen {

class HouseholdService;

// The owner's asset notes, DATA_DIR/assets/<slug>.md. The folder belongs to the data
// directory's home household (the first one founded there): its owner and members read
// it, anybody else sees an empty list.
class AssetsService {
public:
    AssetsService(QString assetsDir, HouseholdService& households);

    const QString& folder() const { return m_folder; }

    wire::AssetsListResponse list(qint64 userId);
    // Throws ApiError 404 for an unknown or malformed slug and for a reader outside the household.
    wire::AssetItem get(qint64 userId, const QString& slug);

    static bool isValidSlug(const QString& slug);

private:
    bool mayRead(qint64 userId);
    std::optional<wire::AssetItem> load(const QString& slug) const;

    QString m_folder;
    HouseholdService& m_households;
};

} // namespace lumen
