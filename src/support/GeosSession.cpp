#include "support/GeosSession.h"

namespace mvgeo
{

namespace
{

void keepMessage(const char* message, void* text)
{
    *static_cast<std::string*>(text) = message ? message : "";
}

} // namespace

GeosSession::GeosSession() : _context(GEOS_init_r())
{
    GEOSContext_setErrorMessageHandler_r(_context, keepMessage, &_lastError);
}

GeosSession::~GeosSession()
{
    GEOS_finish_r(_context);
}

} // namespace mvgeo
