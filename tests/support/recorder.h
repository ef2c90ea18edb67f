#pragma once

#include <functional>
#include <string>
#include <vector>

#include "taro25d/MsgBase.h"

/// Keeps the messages to a listener, and calls a hook after each.
struct Recorder : LUMO_TARO25D::MsgBase {
    void update(LUMO_TARO25D::MsgType type, const std::string& message, double value) override {
        vTypes.push_back(type);
        vMessages.push_back(message);
        vValues.push_back(value);
        if (hook) hook();
    }
    std::vector<LUMO_TARO25D::MsgType> vTypes;
    std::vector<std::string> vMessages;
    std::vector<double> vValues;
    std::function<void()> hook;
};
