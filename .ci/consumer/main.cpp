// Uses the installed headers and libraries; ends with 0 when they do what they should.
#include <registry/registry.h>
#include <stringutils/astring.h>

#include <cstdio>

int main() {
    registry::Store store;
    registry::Key key = store.CreateKey(registry::HKEY_CURRENT_USER, u"consumer", registry::KEY_ALL_ACCESS);
    key.Set(u"Name", AString(u"größe"));
    bool good = key.GetText(u"NAME") == AString(u"größe");
    std::puts(good ? "the registry answers" : "the registry lost a value");
    return good ? 0 : 1;
}
