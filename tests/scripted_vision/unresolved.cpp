// Makes a library that does not load where the loader resolves all functions at once.
extern "C" void NobodyDefinesThis();

extern "C" void CallsAFunctionThatNobodyDefines()
{
    NobodyDefinesThis();
}
