#include "core/graphics/SoLogMessage.h"

#include "shr/Logger.h"

namespace core {

void SoLogMessage::post(const char* file, int line, const char* text)
{
    shr::g_Logger.SendVA(kLevel, "%s(%d): %s", file ? file : "", line, text ? text : "");
}

} // namespace core
