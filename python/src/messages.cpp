#include "messages.h"

#include "taro25d/MessageHandler.h"

namespace {
thread_local Messages* pCollecting = nullptr;
}

void installMessageHandler() {
    LUMO_TARO25D::setMessageHandler(
        [](LUMO_TARO25D::MsgLevel level, const std::string& /*location*/, const std::string& text) {
            if (pCollecting) pCollecting->push_back({level, text});
        });
}

MessageCollector::MessageCollector(Messages& messages) : pPrevious_(pCollecting) { pCollecting = &messages; }

MessageCollector::~MessageCollector() { pCollecting = pPrevious_; }
