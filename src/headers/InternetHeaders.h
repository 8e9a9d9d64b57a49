#pragma once
// Being written.
