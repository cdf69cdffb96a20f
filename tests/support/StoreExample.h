#pragma once

#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// The small store of examples/: mails in several languages, two contacts, an appointment. All people are
/// invented.
StoreDescription DescribeExample();

/// Builds it and damages it: the header's root and the upper NBT pages are gone, and one BBT page. Everything
/// that it holds can still be recovered.
CBuiltStore BuildDamagedExample();

}  // namespace pastille::tests
