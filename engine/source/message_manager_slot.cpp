#include <engine/message_manager_slot.h>

namespace {

thread_local IMessageManager* t_Manager = nullptr;

} // namespace

IMessageManager* GetMessageManager() {
    return t_Manager;
}

void SetMessageManager(IMessageManager* manager) {
    t_Manager = manager;
}
