// The message manager of each thread that works for a client: the engine object on the thread that serves the client, the
// analysis on a job's thread.
#pragma once

#include <messagelibni/message_manager.h>

// Null on a thread that has none.
IMessageManager* GetMessageManager();

// For the calling thread. The manager outlives its stay there.
void SetMessageManager(IMessageManager* manager);
