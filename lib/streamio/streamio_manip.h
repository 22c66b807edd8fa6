// Manipulators that read or write one named value in one step.
//
//   int n = 0;
//   stream >> CNamed_value_manip<int>(u"n", n);
//
// On an input stream the name, "=" and a value that converts must stand there; otherwise all is given back
// and the stream fails. Without a target the value must equal the one given. On a block the value is looked
// up or added.
#pragma once

#include <streamio/block.h>

namespace io {

// For int, unsigned int, bool, double and AString.
template <class T>
class CNamed_value_manip : public CStreamio_manip {
public:
    CNamed_value_manip(const AString& name, const T& value);
    CNamed_value_manip(const AString& name, T& target);

    void Apply(CAbstract_istream& s) override;
    void Apply(CAbstract_ostream& s) override;

    const CBlock_named_value& GetNamedValue() const { return mItem; }
    CBlock_named_value& GetNamedValue() { return mItem; }
    // Into the target, if there is one; false if it doesn't convert.
    bool Convert(const CBlock_value& value) const;
    bool HasTarget() const { return mTarget != nullptr; }

private:
    CBlock_named_value mItem;
    T* mTarget = nullptr;
};

extern template class CNamed_value_manip<int>;
extern template class CNamed_value_manip<unsigned int>;
extern template class CNamed_value_manip<bool>;
extern template class CNamed_value_manip<double>;
extern template class CNamed_value_manip<AString>;

template <class T>
CBlock& operator<<(CBlock& block, const CNamed_value_manip<T>& manip) {
    return block.AddNamedValue(manip.GetNamedValue());
}

// The result of the conversion becomes the container's good flag.
template <class Container, class T>
requires std::is_same_v<Container, CBlock> || std::is_base_of_v<CBlock_func, Container> Container&
operator>>(Container& container, CNamed_value_manip<T>&& manip) {
    container.GetNamedValue(manip.GetNamedValue());
    if (container.IsGood() && manip.HasTarget())
        container.SetGood(manip.Convert(manip.GetNamedValue()));
    return container;
}

template <class Container, class T>
requires std::is_same_v<Container, CBlock> || std::is_base_of_v<CBlock_func, Container> Container&
operator>>(Container& container, CNamed_value_manip<T>& manip) {
    return container >> std::move(manip);
}

} // namespace io
