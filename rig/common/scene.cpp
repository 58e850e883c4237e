#include "rig/common/scene.h"
