// What the programs of the product share: the announced application object.
#pragma once

class IMessageManager;

// Built once at the start of the process, with the way to the message manager of whichever thread asks.
class CMvOrvaneApplication {
public:
    explicit CMvOrvaneApplication(IMessageManager* (*lookup)()) : m_Lookup(lookup) {}

    // Null on a thread that has none.
    IMessageManager* GetMessageManager() const { return m_Lookup(); }

private:
    IMessageManager* (*m_Lookup)();
};

// Announces the application, which outlives every use; null takes it back. Called before other threads start.
void InitMvcoreDLL(const CMvOrvaneApplication* application);

// The announced application, or null.
const CMvOrvaneApplication* GetMvOrvaneApplication();
