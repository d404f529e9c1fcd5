#pragma once

#include <QObject>

#include <utility>

// Assigns a published property's new value and emits its change signal, only when the value really
// changes: observers are never woken by a value they already have. Returns whether it changed.
//
//     void LibraryModel::setWaiting(bool waiting) { publish(this, m_waiting, waiting, &LibraryModel::waitingChanged); }
template<typename Owner, typename Member, typename Value>
bool publish(Owner *owner, Member &member, Value &&value, void (Owner::*changed)())
{
    if (member == value)
        return false;
    member = std::forward<Value>(value);
    Q_EMIT(owner->*changed)();
    return true;
}
