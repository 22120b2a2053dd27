#include "dataface/input_data.h"

namespace dataface1 {

IResultInfo::~IResultInfo() = default;
IInputData::~IInputData() = default;
IQueryLibrary::~IQueryLibrary() = default;

} // namespace dataface1
