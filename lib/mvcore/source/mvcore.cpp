#include <mvcore/mvcore.h>

namespace {

const CMvOrvaneApplication* g_Application = nullptr;

} // namespace

void InitMvcoreDLL(const CMvOrvaneApplication* application) {
    g_Application = application;
}

const CMvOrvaneApplication* GetMvOrvaneApplication() {
    return g_Application;
}
