#include "tm/Tm_exception.h"

Tm_out_of_range_exception::Tm_out_of_range_exception(int index, int low, int high)
    : Tm_exception("index " + std::to_string(index) + " out of range [" + std::to_string(low) + ", " +
                   std::to_string(high) + "]"),
      m_index(index),
      m_low(low),
      m_high(high) {}

Tm_type_mismatch_exception::Tm_type_mismatch_exception(TMT got, TMT expected)
    : Tm_exception("type mismatch: got " + tmt_name(got) + ", expected " + tmt_name(expected)) {}

Tm_type_mismatch_exception::Tm_type_mismatch_exception(TMV got, TMV expected)
    : Tm_exception("type mismatch: got " + tmv_name(got) + ", expected " + tmv_name(expected)) {}
