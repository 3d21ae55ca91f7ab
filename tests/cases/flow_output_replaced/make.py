with open("out.pdb", "wb") as file:
    file.write(bytes(10000))
