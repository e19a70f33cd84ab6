// The least that a process can be: what its start and end cost is what any life costs.
int main() {}
