#pragma once

#include <utility>

// Runs an action, which must not throw, when the scope is left: `const CScopeExit name([&] { ... });`.
template <class Action>
class CScopeExit
{
public:
    explicit CScopeExit(Action action) : m_action(std::move(action)) {}
    CScopeExit(const CScopeExit&) = delete;
    CScopeExit& operator=(const CScopeExit&) = delete;
    ~CScopeExit() { m_action(); }

private:
    Action m_action;
};
