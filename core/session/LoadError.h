#pragma once

#include <QString>

#include <exception>

// One line of text for any thrown error, and whether it means the session is over.
struct LoadError {
    QString message;
    bool isAuthFailure = false;
};

// Only `unauthorized` signs the user out; a 403 or a missing token does not.
LoadError formatLoadError(std::exception_ptr error);
