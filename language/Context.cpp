#include "Context.h"

#include "Lexicon.h"

namespace language {

QDateTime Context::localNow() const
{
    if (!zone.isValid())
        return now;
    return now.toTimeZone(zone);
}

const Lexicon& Context::words() const
{
    return lexicon ? *lexicon : Lexicon::builtIn();
}

} // namespace language
