#pragma once

#include <QString>

#include <optional>

namespace lumen {

// Names are compared and stored trimmed and lower-cased: "Velmar " signs in as "velmar".
QString normalizedUsername(const QString& typed);

// A name a new account may take: 1 to 32 of a-z, 0-9, '.', '_' and '-', starting with a
// letter or digit. Returns an explanation when it may not.
std::optional<QString> usernameProblem(const QString& normalized);

} // namespace lumen
