#include "ClientPaths.h"

#include <QStandardPaths>

ClientPaths ClientPaths::standard()
{
    return ClientPaths { QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) };
}
