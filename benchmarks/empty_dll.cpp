extern "C" __declspec(dllexport) int nothing() { return 0; }
