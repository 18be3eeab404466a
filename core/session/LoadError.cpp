#include "LoadError.h"

#include "KeychainError.h"
#include "LumenAPIError.h"

#include "json/JsonCoding.h"

LoadError formatLoadError(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const LumenAPIError& apiError) {
        return { apiError.userMessage(), apiError.kind() == LumenAPIError::Kind::Unauthorized };
    } catch (const KeychainError& keychainError) {
        return { keychainError.description(), false };
    } catch (const wire::DecodeError& decodeError) {
        return { decodeError.description(), false };
    } catch (const std::exception& other) {
        return { QString::fromUtf8(other.what()), false };
    } catch (...) {
        return { QStringLiteral("未知错误"), false };
    }
}
