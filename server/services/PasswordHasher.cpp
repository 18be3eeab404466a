#include "PasswordHasher.h"

#include <sodium.h>

#include <stdexcept>

namespace lumen {

namespace {

struct Limits {
    unsigned long long ops;
    size_t mem;
};

Limits limitsFor(PasswordCost cost)
{
    switch (cost) {
    case PasswordCost::Minimum:
        return { crypto_pwhash_OPSLIMIT_MIN, crypto_pwhash_MEMLIMIT_MIN };
    case PasswordCost::Interactive:
        return { crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE };
    case PasswordCost::Moderate:
        return { crypto_pwhash_OPSLIMIT_MODERATE, crypto_pwhash_MEMLIMIT_MODERATE };
    }
    return { crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE };
}

} // namespace

PasswordHasher::PasswordHasher(PasswordCost cost)
    : m_cost(cost)
{
    if (sodium_init() < 0)
        throw std::runtime_error("libsodium failed to initialise");
    m_decoy = hash(QStringLiteral("decoy password for unknown names"));
}

QString PasswordHasher::hash(const QString& password) const
{
    const QByteArray utf8 = password.toUtf8();
    const Limits limits = limitsFor(m_cost);
    char out[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str_alg(out, utf8.constData(), utf8.size(), limits.ops, limits.mem, crypto_pwhash_ALG_ARGON2ID13)
        != 0)
        throw std::runtime_error("password hashing ran out of memory");
    return QString::fromLatin1(out);
}

bool PasswordHasher::verify(const QString& encodedHash, const QString& password) const
{
    const QByteArray stored = encodedHash.toLatin1();
    const QByteArray utf8 = password.toUtf8();
    return crypto_pwhash_str_verify(stored.constData(), utf8.constData(), utf8.size()) == 0;
}

void PasswordHasher::verifyNothing(const QString& password) const
{
    (void)verify(m_decoy, password);
}

} // namespace lumen
