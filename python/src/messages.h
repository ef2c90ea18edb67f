#pragma once

#include <string>
#include <vector>

#include "taro25d/MsgLevel.h"

/// Messages that arise during a call are collected for its caller, not printed.

struct Message {
    LUMO_TARO25D::MsgLevel level;
    std::string text;
};
using Messages = std::vector<Message>;

/// Routes the messages of the library to the collectors of this process; without one on the thread they are dropped.
void installMessageHandler();

/// For its lifetime, receives the messages that arise on this thread. Nests: the innermost receives.
class MessageCollector {
  public:
    explicit MessageCollector(Messages& messages);
    ~MessageCollector();
    MessageCollector(const MessageCollector&) = delete;
    MessageCollector& operator=(const MessageCollector&) = delete;

  private:
    Messages* pPrevious_;
};
