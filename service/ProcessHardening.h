#pragma once

#include <string>
#include <vector>

// Gives up, for good, almost every privilege of the process's token: all that a service may hold
// but SeChangeNotifyPrivilege. Called once, on the main thread, before there is any other.
// A failure is logged and the program goes on with the token that it has; only the
// std::runtime_error of `LimitPrivileges` gets out.
void InitializeSecurity();

// Removes the named privileges from the process's token. A name that the system does not know is
// skipped, and a privilege that the token does not hold is no failure. Returns whether the token
// was adjusted; why it was not is in the log. Throws std::runtime_error when there is no memory for
// the request.
bool LimitPrivileges(std::vector<std::wstring> privileges);
