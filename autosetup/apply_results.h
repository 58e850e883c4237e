// Carries what a successful analysis found into the settings, each value only where it is valid.
#pragma once

#include "autosetup/workspace.h"

void apply_auto_setup_results(const AutoSetupWorkspace* workspace, Settings* settings);
