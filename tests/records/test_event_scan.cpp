#include "records_fixture.h"
