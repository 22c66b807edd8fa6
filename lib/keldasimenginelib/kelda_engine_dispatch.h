// The calls by name of IKeldaEngine, made of its five methods; base of every implementation of the interface.
//
// Dispatch ids 1 to 5 are the methods in their order. IsAlive's return value comes as the result;
// StartAnalysis takes the place for `procid` as its fifth argument.
#pragma once

#include <keldasimenginelib/keldasimenginelib.h>

class KeldaEngineDispatch : public IKeldaEngine {
public:
    HRESULT GetIdOfName(const wchar16* name, DISPID* id) final;
    HRESULT Invoke(DISPID id, std::span<const VARIANT> arguments, VARIANT* result) final;

protected:
    ~KeldaEngineDispatch() = default;
};
