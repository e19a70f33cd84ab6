#include "VUSL/Support/CmdLineParameter.h"

#include <iostream>

CmdLineParameter::CmdLineParameter(const vusl::string_t& parameterName)
    : name(parameterName), in(&std::cin), out(&std::cout) {}
