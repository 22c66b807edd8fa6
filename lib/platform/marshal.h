// Carrying an interface pointer from the thread that received it to another one.
//
// Two steps: the first thread marshals the pointer into a stream, the second takes a pointer of its own out
// of it. The stream holds a counted reference in between, and the second step consumes it.
#pragma once

#include <platform/unknown.h>

#include <memory>

namespace platform {

// One interface pointer under way. Destroying it unread drops its reference.
class InterfaceStream {
public:
    virtual ~InterfaceStream() = default;
    // Stores a counted pointer for the calling thread. Called once.
    virtual HRESULT Unmarshal(const IID& iid, void** object) = 0;
};

// Implemented by an object that isn't the same on every thread; all others are handed over as they are.
class IMarshal : public IUnknown {
public:
    static constexpr IID kIid = ParseGuid("00000003-0000-0000-C000-000000000046");

    virtual HRESULT MarshalInterface(const IID& iid, std::unique_ptr<InterfaceStream>* stream) = 0;

protected:
    ~IMarshal() = default;
};

HRESULT CoMarshalInterThreadInterfaceInStream(const IID& iid, IUnknown* object,
                                              std::unique_ptr<InterfaceStream>* stream);

HRESULT CoGetInterfaceAndReleaseStream(std::unique_ptr<InterfaceStream> stream, const IID& iid,
                                       void** object);

} // namespace platform
