#include <streamio/abstract_istream.h>
#include <streamio/abstract_ostream.h>
#include <streamio/streamio_manip.h>

namespace io {

namespace {

CToken TokenOf(int value) {
    return {TokenType::Int, static_cast<double>(value)};
}
CToken TokenOf(unsigned int value) {
    return {TokenType::UnsignedInt, static_cast<double>(value)};
}
CToken TokenOf(bool value) {
    return CToken(value ? TokenType::True : TokenType::False);
}
CToken TokenOf(double value) {
    return {TokenType::Double, value};
}
CToken TokenOf(const AString& value) {
    return {TokenType::SingleQuotedText, value};
}

bool Get(const CBlock_value& value, int& out) {
    return value.GetInt(out);
}
bool Get(const CBlock_value& value, unsigned int& out) {
    return value.GetUnsignedInt(out);
}
bool Get(const CBlock_value& value, bool& out) {
    return value.GetBool(out);
}
bool Get(const CBlock_value& value, double& out) {
    return value.GetDouble(out);
}
bool Get(const CBlock_value& value, AString& out) {
    return value.GetString(out);
}

} // namespace

template <class T>
CNamed_value_manip<T>::CNamed_value_manip(const AString& name, const T& value)
    : mItem(name, TokenOf(value)) {}

template <class T>
CNamed_value_manip<T>::CNamed_value_manip(const AString& name, T& target)
    : mItem(name, TokenOf(target)), mTarget(&target) {}

template <class T>
bool CNamed_value_manip<T>::Convert(const CBlock_value& value) const {
    return mTarget && Get(value, *mTarget);
}

template <class T>
void CNamed_value_manip<T>::Apply(CAbstract_istream& s) {
    AString name;
    mItem.GetName(name);
    if (!s.IsText(name))
        return s.SetFail();
    const CToken nameToken = s.PeekToken();
    s.NextToken();
    if (!s.IsSymbol(u'=')) {
        s.PushBackToken(nameToken);
        return s.SetFail();
    }
    const CToken equals = s.PeekToken();
    s.NextToken();
    const CToken valueToken = s.PeekToken();
    CBlock_value value;
    bool read = true;
    try {
        value.Read(s);
    } catch (const XStreamioError&) {
        read = false;
    }
    if (read && (mTarget ? Convert(value) : value.GetValue() == mItem.GetValue()))
        return;
    if (read)
        s.PushBackToken(valueToken);
    s.PushBackToken(equals);
    s.PushBackToken(nameToken);
    s.SetFail();
}

template <class T>
void CNamed_value_manip<T>::Apply(CAbstract_ostream& s) {
    mItem.Write(s);
}

template class CNamed_value_manip<int>;
template class CNamed_value_manip<unsigned int>;
template class CNamed_value_manip<bool>;
template class CNamed_value_manip<double>;
template class CNamed_value_manip<AString>;

} // namespace io
