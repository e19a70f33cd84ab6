#include "VUSL/Support/CmdLineParameter.h"

#include <iostream>
#include <utility>

CmdLineParameter::CmdLineParameter(vusl::string_t parameterName)
    : name(std::move(parameterName)), in(&std::cin), out(&std::cout) {}
