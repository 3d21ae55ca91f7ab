import os

for name in ("psa_key.h", "psa_serialization.c", "psa_serialization.h", "ipbt_serialization.c",
             "ipbt_serialization.h"):
    os.mkdir(name)
