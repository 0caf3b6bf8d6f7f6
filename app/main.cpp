// SPDX-License-Identifier: MIT
#include "app/Application.h"
#include "base/Process.h"
#include "base/SystemLog.h"

int main(int argc, char** argv) {
  tolvane::prepareProcess();
  tolvane::SystemLog::writeToStandardError(true);
  tolvane::SystemLog::write("[MAIN] App started");
  return tolvane::runApplication(argc, argv);
}
