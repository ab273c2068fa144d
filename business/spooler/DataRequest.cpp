#include "spooler/DataRequest.h"

namespace orvo {

std::shared_ptr<DataRequest> DataRequest::Create() {
  return std::make_shared<DataRequest>();
}

DataRequest::~DataRequest() = default;

}  // namespace orvo
