#pragma once

#include <QByteArray>

namespace lumen::agent {

// Where a turn's frames go: the open event stream, or nowhere once the client has gone.
class TurnOutput {
public:
    virtual ~TurnOutput() = default;
    // False when the frame could not be delivered; the turn goes on regardless.
    virtual bool write(const QByteArray& frame) = 0;
};

// For a turn that finishes with nobody listening.
class NoOutput final : public TurnOutput {
public:
    bool write(const QByteArray&) override { return false; }
};

} // namespace lumen::agent
