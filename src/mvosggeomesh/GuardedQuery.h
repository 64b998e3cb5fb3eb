#pragma once

#include "support/LogLine.h"

#include <exception>
#include <utility>

namespace mvgeo
{

/** What the query says; false, with a line in the log, if OSG throws. */
template <typename Query>
bool guardedQuery(Query&& query)
{
    try
    {
        return std::forward<Query>(query)();
    }
    catch (const std::exception& error)
    {
        MVGEO_LOG(FATAL) << error.what();
    }
    catch (...)
    {
        MVGEO_LOG(FATAL) << " Unknown Exception caught.";
    }
    return false;
}

} // namespace mvgeo
