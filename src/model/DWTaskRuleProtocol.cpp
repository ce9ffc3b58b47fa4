#include "model/DWTaskRuleProtocol.h"

DWTaskRuleProtocol::~DWTaskRuleProtocol() = default;
