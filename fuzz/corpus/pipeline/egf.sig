EGF P01133 NA Ligand Extracellular EGFR P00533 NA Receptor Membrane + binding 2790960
EGF P01133 NA Ligand Extracellular EGFR P00533 NA Receptor Membrane + binding 7679104
EGFR P00533 NA Receptor Membrane GRB2 P62993 NA Adaptor Cytosol + binding 8479541
EGFR P00533 NA Receptor Membrane SOS1 Q07889 NA Protein Cytosol + binding 8382774
GRB2 P62993 NA Adaptor Cytosol SOS1 Q07889 NA Protein Cytosol + binding 8493579
SOS1 Q07889 NA Protein Cytosol HRAS P01112 NA Protein Membrane + guanine_nucleotide_exchange_factor 8493579
