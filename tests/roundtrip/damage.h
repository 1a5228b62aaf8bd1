// Damage to a program that its file does not show: records and trees stay readable, what they say goes wrong.
#pragma once

#include "tools/model/model.h"

// Makes that many random changes to statements, symbols, labels and exception tables.
void damage(MODEL &m, unsigned seed, int changes);
