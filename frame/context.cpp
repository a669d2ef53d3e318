#include "frame/context.h"

ServiceContext service;
