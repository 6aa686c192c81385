// Does nothing: what it costs to start a program with the libraries that the tool is linked to.
int main() {}
