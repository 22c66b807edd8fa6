// The factory of the one class that the process serves. It makes nothing: the one object exists for the
// process's life.
#pragma once

#include <platform/unknown.h>

class EngineClassObject {
public:
    explicit EngineClassObject(IUnknown& engine) : m_Engine(engine) {}

    // Stores a counted pointer to the object's interface `iid`. CLASS_E_NOAGGREGATION when an outer object is
    // given, E_POINTER for a null `object`, E_NOINTERFACE for an interface that the object doesn't have.
    HRESULT CreateInstance(IUnknown* outer, const IID& iid, void** object) {
        if (outer)
            return CLASS_E_NOAGGREGATION;
        if (!object)
            return E_POINTER;
        return m_Engine.QueryInterface(iid, object);
    }

private:
    IUnknown& m_Engine;
};
