#include <platform/marshal.h>

namespace platform {
namespace {

class SamePointer final : public InterfaceStream {
public:
    explicit SamePointer(InterfacePtr<IUnknown> object) : m_Object(std::move(object)) {}
    HRESULT Unmarshal(const IID& iid, void** object) override {
        return m_Object->QueryInterface(iid, object);
    }

private:
    InterfacePtr<IUnknown> m_Object;
};

} // namespace

HRESULT CoMarshalInterThreadInterfaceInStream(const IID& iid, IUnknown* object,
                                              std::unique_ptr<InterfaceStream>* stream) {
    stream->reset();
    void* found = nullptr;
    if (Succeeded(object->QueryInterface(IMarshal::kIid, &found))) {
        auto marshal = InterfacePtr<IMarshal>::Adopt(static_cast<IMarshal*>(found));
        return marshal->MarshalInterface(iid, stream);
    }
    HRESULT result = object->QueryInterface(iid, &found);
    if (Failed(result))
        return result;
    *stream = std::make_unique<SamePointer>(InterfacePtr<IUnknown>::Adopt(static_cast<IUnknown*>(found)));
    return S_OK;
}

HRESULT CoGetInterfaceAndReleaseStream(std::unique_ptr<InterfaceStream> stream, const IID& iid,
                                       void** object) {
    *object = nullptr;
    return stream ? stream->Unmarshal(iid, object) : E_POINTER;
}

} // namespace platform
