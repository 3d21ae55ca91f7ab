import os

os.remove("signature_coverage.data")
os.mkdir("signature_coverage.data")
