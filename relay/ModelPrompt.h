#pragma once

#include "IntentSection.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace mintbridge {

// What the model command reads on its standard input: the task of the section, the fields to
// answer with, the reference time in the household's zone, and the sentence.
QByteArray modelPrompt(IntentSection section, const QString& text, const QDateTime& localNow, const QString& zoneName);

} // namespace mintbridge
