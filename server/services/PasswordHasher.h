#pragma once

#include <QString>

namespace lumen {

// How much work an argon2id hash costs. Tests use Minimum so that hundreds of logins stay
// fast; a stored hash carries its own parameters, so verification follows the hash.
enum class PasswordCost { Minimum, Interactive, Moderate };

class PasswordHasher {
public:
    explicit PasswordHasher(PasswordCost cost);

    // The encoded argon2id string ("$argon2id$v=19$m=...").
    QString hash(const QString& password) const;
    bool verify(const QString& encodedHash, const QString& password) const;
    // Spends about the time of a real verification, so an unknown name answers no faster
    // than a known one with a wrong password.
    void verifyNothing(const QString& password) const;

private:
    PasswordCost m_cost;
    QString m_decoy;
};

} // namespace lumen
